// The three-state scanner of one mailbox (see mailbox.h), over UTF-16 or over ASCII.
//
// Name and address are looked at where they stand for as long as nothing between their first and
// last character is left out, so that the mailboxes of nearly all mail are read without a copy.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "mime/mailbox.h"
#include "platform/text.h"

namespace QuelmarMIMEEngineCommon {

// What a character means in the places of a mailbox.
namespace meaning {

using Bits = std::uint16_t;
inline constexpr Bits kEscape = 1;        // backslash
inline constexpr Bits kOpensComment = 2;  // (
inline constexpr Bits kOpens = 4;         // <
inline constexpr Bits kCloses = 8;        // >
inline constexpr Bits kAt = 16;
inline constexpr Bits kQuote = 32;
inline constexpr Bits kBlank = 64;
// In `"name" < address >` more than the character itself: part of a quotation, of an encoded word,
// of a list, of a route.
inline constexpr Bits kMoreInName = 128;
inline constexpr Bits kMoreInAddress = 256;

constexpr std::array<Bits, 256> OfBytes() {
  std::array<Bits, 256> bits{};
  const auto add = [&](std::string_view characters, Bits what) {
    for (const char c : characters) bits[static_cast<std::size_t>(c)] |= what;
  };
  for (std::size_t c = 0; c < bits.size(); ++c) {
    if (c < ' ' || c > '~') bits[c] = kMoreInName | kMoreInAddress;
  }
  add("\\", kEscape);
  add("(", kOpensComment);
  add("<", kOpens);
  add(">", kCloses);
  add("@", kAt);
  add("\"", kQuote);
  add(" \t\n\v\f\r", kBlank);
  add("\"\\?", kMoreInName);
  add(" ><\"(),;:\\", kMoreInAddress);
  return bits;
}
inline constexpr std::array<Bits, 256> kOfBytes = OfBytes();

inline Bits Of(char c) { return kOfBytes[static_cast<unsigned char>(c)]; }
inline Bits Of(char16_t c) {
  if (c < 0x80) return kOfBytes[c];
  constexpr Bits kMore = kMoreInName | kMoreInAddress;
  return parvane::platform::IsWhiteSpace(c) ? kMore | kBlank : kMore;
}

}  // namespace meaning

// Text put together from a mailbox: a view of it while that will do, else a copy.
template <typename Char>
class GatheredText {
 public:
  using View = std::basic_string_view<Char>;

  View view() const { return _copied ? View(_copy) : _view; }
  bool empty() const { return view().empty(); }
  // What all its characters mean, taken together.
  meaning::Bits meanings() const { return _meanings; }

  // `run` is a part of the mailbox.
  void Append(View run, meaning::Bits meanings) {
    _meanings |= meanings;
    if (run.empty()) return;
    if (!_copied && _view.empty()) {
      _view = run;
    } else if (!_copied && _view.data() + _view.size() == run.data()) {
      _view = View(_view.data(), _view.size() + run.size());
    } else {
      AppendCopy(run);
    }
  }
  // Takes over what the other one has, which is then empty.
  void Append(GatheredText& other) {
    _meanings |= other._meanings;
    AppendCopy(other.view());
    other = {};
  }
  void TrimEnd() {
    View text = view();
    while (!text.empty() && (meaning::Of(text.back()) & meaning::kBlank) != 0)
      text.remove_suffix(1);
    if (_copied) {
      _copy.resize(text.size());
    } else {
      _view = text;
    }
  }

 private:
  void AppendCopy(View run) {
    if (!_copied) _copy.assign(_view);
    _copied = true;
    _copy.append(run);
  }

  View _view;
  bool _copied = false;
  meaning::Bits _meanings = 0;
  std::basic_string<Char> _copy;
};

template <typename Char>
class MailboxScanner {
 public:
  using View = std::basic_string_view<Char>;

  explicit MailboxScanner(View mailbox) : _text(mailbox) {
    SkipWhiteSpace();
    if (!AtEnd()) ScanName();
    if (_state == States::Between) {
      SkipWhiteSpace();
      // Words behind a quoted name, which end up in it.
      if (!AtEnd() && _text[_next] != Char{'<'}) _plain = false;
      if (!AtEnd()) _state = States::Address;
    }
    if (_state == States::Address && !_bare && !AtEnd()) ScanAddress();
    SkipWhiteSpace();
    _plain &= _state == States::Address && AtEnd();
  }

  View name() const { return _name.view(); }
  View address() const { return _address.view(); }
  // One of the forms `"name" <address>`, `name <address>`, `<address>` and `address`, without
  // escapes and comments: nothing but white space has been left out.
  bool IsPlain() const { return _plain; }
  // As repair writes it, the mailbox means what it says, character by character.
  bool IsLiteral() const {
    return (_name.meanings() & meaning::kMoreInName) == 0 &&
           (_address.meanings() & meaning::kMoreInAddress) == 0 && !_address.empty() &&
           _address.view().front() != Char{'@'};
  }

 private:
  enum class Unit { kText, kPlain, kDropped };
  static constexpr meaning::Bits kFiltered = meaning::kEscape | meaning::kOpensComment;

  bool AtEnd() const { return _next == _text.size(); }
  void SkipWhiteSpace() {
    while (!AtEnd() && (meaning::Of(_text[_next]) & meaning::kBlank) != 0) ++_next;
  }

  // Copies up to the first character that has one of the meanings.
  void CopyRun(GatheredText<Char>& out, meaning::Bits ends) {
    const std::size_t start = _next;
    meaning::Bits seen = 0;
    for (; !AtEnd(); ++_next) {
      const meaning::Bits bits = meaning::Of(_text[_next]);
      if ((bits & ends) != 0) break;
      seen |= bits;
    }
    out.Append(_text.substr(start, _next - start), seen);
  }
  void CopyOne(GatheredText<Char>& out) {
    out.Append(_text.substr(_next, 1), meaning::Of(_text[_next]));
  }

  // Outside escapes and comments, where only "\" and "(" mean something.
  bool IsIdle() const { return !_escape && _depth == 0; }
  // kText: an escaped character, to be taken literally. kPlain: one outside comments that may mean
  // something. kDropped: part of a comment or of the syntax.
  Unit Read(Char c) {
    if (_escape) {
      _escape = false;
      return _depth == 0 ? Unit::kText : Unit::kDropped;
    }
    if (c == Char{'\\'} || c == Char{'('}) {
      _plain = false;
      if (c == Char{'('}) {
        ++_depth;
      } else {
        _escape = true;
      }
      return Unit::kDropped;
    }
    if (_depth == 0) return Unit::kPlain;
    if (c == Char{')'}) --_depth;
    return Unit::kDropped;
  }

  void ScanName() {
    if (_text[_next] == Char{'<'}) {
      _state = States::Address;
    } else if (_text[_next] == Char{'"'}) {
      if (ScanQuotedName()) AfterName(true);
    } else if (ScanPlainName()) {
      AfterName(false);
    }
  }

  // False when the closing quote is missing: the name is then all there is.
  bool ScanQuotedName() {
    ++_next;
    while (!AtEnd()) {
      CopyRun(_name, meaning::kQuote | meaning::kEscape);
      if (AtEnd()) return false;
      if (_text[_next++] == Char{'"'}) return true;
      _plain = false;
      if (AtEnd()) return false;
      CopyOne(_name);
      ++_next;
    }
    return false;
  }

  // False when the input ends inside the name.
  bool ScanPlainName() {
    for (; !AtEnd(); ++_next) {
      if (IsIdle()) {
        CopyRun(_name, kFiltered | meaning::kOpens | meaning::kAt);
        if (AtEnd()) break;
      }
      const Char c = _text[_next];
      const Unit unit = Read(c);
      if (unit == Unit::kDropped) continue;
      if (unit == Unit::kPlain && (c == Char{'<'} || c == Char{'@'})) {
        if ((_name.meanings() & meaning::kQuote) != 0) _plain = false;
        if (c == Char{'<'}) _name.TrimEnd();
        return true;
      }
      CopyOne(_name);
    }
    return false;
  }

  // An "@" here means that what looked like a name is the local part of a bare address.
  void AfterName(bool quoted) {
    SkipWhiteSpace();
    if (AtEnd() || _text[_next] != Char{'@'}) {
      _state = States::Between;
      return;
    }
    if (quoted) _plain = false;
    _address = std::exchange(_name, {});
    ScanBareAddress();
    _state = States::Address;
    _bare = true;
  }

  // Ends at white space; what stands behind it is not read.
  void ScanBareAddress() {
    for (; !AtEnd(); ++_next) {
      if (IsIdle()) {
        CopyRun(_address, kFiltered | meaning::kBlank);
        if (AtEnd()) break;
      }
      const Unit unit = Read(_text[_next]);
      if (unit == Unit::kPlain) break;
      if (unit == Unit::kText) CopyOne(_address);
    }
  }

  void ScanAddress() {
    if (_text[_next] == Char{'<'}) ++_next;
    for (; !AtEnd(); ++_next) {
      if (IsIdle()) {
        CopyRun(_address, kFiltered | meaning::kOpens | meaning::kCloses | meaning::kBlank);
        if (AtEnd()) return;
      }
      const Char c = _text[_next];
      const Unit unit = Read(c);
      if (unit == Unit::kText) CopyOne(_address);
      if (unit != Unit::kPlain) continue;
      if (c == Char{'>'}) {
        ++_next;
        return;
      }
      if (c != Char{'<'}) continue;  // white space
      _plain = false;
      _name.Append(_address);
    }
  }

  View _text;
  GatheredText<Char> _name;
  GatheredText<Char> _address;
  std::size_t _next = 0;
  std::size_t _depth = 0;  // of comments
  bool _escape = false;
  bool _plain = true;
  bool _bare = false;  // what stands behind a bare address is not read
  States _state = States::Name;
};

}  // namespace QuelmarMIMEEngineCommon
