#include "mime/mailbox.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "platform/text.h"

namespace QuelmarMIMEEngineCommon {
namespace {

using parvane::platform::IsWhiteSpace;

bool IsWhiteSpace(char c) { return parvane::platform::IsAsciiWhiteSpace(c); }

// Reads text in which "\" escapes and "(" ")" enclose comments, one unit at a time.
template <typename Char>
class CommentFilter {
 public:
  enum class Unit { kText, kPlain, kDropped };

  // Outside escapes and comments, where only "\" and "(" mean something.
  bool IsIdle() const { return !_escape && _depth == 0; }

  // kText: an escaped unit, to be taken literally. kPlain: a unit outside comments that may mean
  // something. kDropped: part of a comment or of the syntax.
  Unit Read(Char c) {
    if (_escape) {
      _escape = false;
      return _depth == 0 ? Unit::kText : Unit::kDropped;
    }
    if (c == '\\') {
      _escape = true;
      return Unit::kDropped;
    }
    if (c == '(') {
      ++_depth;
      return Unit::kDropped;
    }
    if (_depth == 0) return Unit::kPlain;
    if (c == ')') --_depth;
    return Unit::kDropped;
  }

 private:
  bool _escape = false;
  std::size_t _depth = 0;
};

// Over UTF-16, or over ASCII.
template <typename Char>
class MailboxScanner {
 public:
  using Text = std::basic_string<Char>;

  MailboxScanner(std::basic_string_view<Char> mailbox, Text& name, Text& address)
      : _text(mailbox), _name(name), _address(address) {}

  void Scan() {
    SkipWhiteSpace();
    while (!AtEnd()) {
      switch (_state) {
        case States::Name:
          ScanName();
          break;
        case States::Between:
          SkipWhiteSpace();
          _state = States::Address;
          break;
        case States::Address:
          ScanAddress();
          return;
      }
    }
  }

 private:
  using Filter = CommentFilter<Char>;
  using Unit = typename Filter::Unit;

  bool AtEnd() const { return _next == _text.size(); }

  void SkipWhiteSpace() {
    while (!AtEnd() && IsWhiteSpace(_text[_next])) ++_next;
  }

  // Copies up to the first unit that `stops`.
  template <typename Stops>
  void CopyRun(Text& out, Stops stops) {
    const std::size_t start = _next;
    while (!AtEnd() && !stops(_text[_next])) ++_next;
    out.append(_text.substr(start, _next - start));
  }

  void ScanName() {
    if (_text[_next] == '<') {
      _state = States::Address;
    } else if (_text[_next] == '"') {
      if (ScanQuotedName()) AfterName();
    } else if (ScanPlainName()) {
      AfterName();
    }
  }

  // False when the closing quote is missing: the name is then all there is.
  bool ScanQuotedName() {
    ++_next;
    while (!AtEnd()) {
      CopyRun(_name, [](Char c) { return c == '"' || c == '\\'; });
      if (AtEnd()) return false;
      if (_text[_next++] == '"') return true;
      if (!AtEnd()) _name += _text[_next++];
    }
    return false;
  }

  // False when the input ends inside the name.
  bool ScanPlainName() {
    Filter filter;
    for (; !AtEnd(); ++_next) {
      if (filter.IsIdle()) {
        CopyRun(_name, [](Char c) { return c == '\\' || c == '(' || c == '<' || c == '@'; });
        if (AtEnd()) return false;
      }
      const Char c = _text[_next];
      const auto unit = filter.Read(c);
      if (unit == Unit::kDropped) continue;
      if (unit == Unit::kPlain && (c == '<' || c == '@')) {
        if (c == '<') TrimNameEnd();
        return true;
      }
      _name += c;
    }
    return false;
  }

  void TrimNameEnd() {
    while (!_name.empty() && IsWhiteSpace(_name.back())) _name.pop_back();
  }

  // An "@" here means that what looked like a name is the local part of a bare address.
  void AfterName() {
    SkipWhiteSpace();
    if (AtEnd() || _text[_next] != '@') {
      _state = States::Between;
      return;
    }
    _address = _name;
    _name.clear();
    ScanBareAddress();
  }

  void ScanBareAddress() {
    Filter filter;
    for (; !AtEnd(); ++_next) {
      const Char c = _text[_next];
      const auto unit = filter.Read(c);
      if (unit == Unit::kPlain && IsWhiteSpace(c)) break;
      if (unit != Unit::kDropped) _address += c;
    }
    _next = _text.size();
  }

  void ScanAddress() {
    if (_text[_next] == '<') ++_next;
    Filter filter;
    for (; !AtEnd(); ++_next) {
      if (filter.IsIdle()) {
        CopyRun(_address, [](Char c) {
          return c == '\\' || c == '(' || c == '<' || c == '>' || IsWhiteSpace(c);
        });
        if (AtEnd()) return;
      }
      const Char c = _text[_next];
      const auto unit = filter.Read(c);
      if (unit == Unit::kDropped) continue;
      if (unit == Unit::kText) {
        _address += c;
      } else if (c == '<') {
        _name += _address;
        _address.clear();
      } else if (c == '>') {
        return;
      } else if (!IsWhiteSpace(c)) {
        _address += c;
      }
    }
  }

  std::basic_string_view<Char> _text;
  Text& _name;
  Text& _address;
  std::size_t _next = 0;
  States _state = States::Name;
};

// Calls `take` with the pieces of `list` between commas that are not empty.
template <typename Char, typename Take>
void ForEachPiece(std::basic_string_view<Char> list, Take take) {
  while (true) {
    const std::size_t comma = list.find(Char{','});
    const auto piece = list.substr(0, comma);
    if (!piece.empty()) take(piece);
    if (comma == list.npos) return;
    list.remove_prefix(comma + 1);
  }
}

template <typename Char>
void AppendEscaped(std::basic_string_view<Char> name, std::basic_string<Char>& out) {
  for (const Char c : name) {
    if (c == '"' || c == '\\') out += Char{'\\'};
    out += c;
  }
}

// The places of a mailbox that a byte does not end.
class Places {
 public:
  enum Place : unsigned char { kName = 1, kBracketed = 2, kBare = 4 };

  constexpr Places() {
    _places.fill(kName | kBracketed | kBare);
    for (const char c : {' ', '\t', '\n', '\v', '\f', '\r'}) At(c) = kName;
    At('\\') = At('(') = 0;
    At('<') = At('>') = kBare;
    At('>') |= kName;
    At('@') &= static_cast<unsigned char>(~kName);
    At('"') &= static_cast<unsigned char>(~kName);
  }
  // Where the bytes from `at` on end that may stand there.
  std::size_t End(std::string_view text, std::size_t at, Place place) const {
    while (at < text.size() && (_places[static_cast<unsigned char>(text[at])] & place) != 0) ++at;
    return at;
  }

 private:
  constexpr unsigned char& At(char c) { return _places[static_cast<unsigned char>(c)]; }

  std::array<unsigned char, 256> _places{};
};
constexpr Places kPlaces;

std::string_view WithoutLeadingSpace(std::string_view text) {
  while (!text.empty() && IsWhiteSpace(text.front())) text.remove_prefix(1);
  return text;
}

// Writes `text` without its white space; false when something in it has a meaning of its own, up
// to the ">" that ends an address. Clears `complete` when there is more behind that.
bool AppendPlainAddress(std::string_view text, std::string& out, bool& complete) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = kPlaces.End(text, at, Places::kBracketed);
    out.append(text, at, end - at);
    if (end == text.size()) return true;
    if (text[end] == '>') {
      complete &= WithoutLeadingSpace(text.substr(end + 1)).empty();
      return true;
    }
    if (!IsWhiteSpace(text[end])) return false;
    at = end + 1;
  }
  return true;
}

// Writes the mailboxes that most people have, without taking them apart first:
//
//   "Name" <address>     Name <address>     <address>     local@domain
//
// False for any other, with `out` to be cut back. Clears `complete` when there was more behind it,
// which is left out.
bool RewritePlain(std::string_view mailbox, std::string& out, bool& complete) {
  mailbox = WithoutLeadingSpace(mailbox);
  if (mailbox.starts_with('"')) {
    const std::size_t end = mailbox.find('"', 1);
    if (end == mailbox.npos) return false;
    const std::string_view name = mailbox.substr(1, end - 1);
    const std::string_view rest = WithoutLeadingSpace(mailbox.substr(end + 1));
    if (name.find('\\') != name.npos || !rest.starts_with('<')) return false;
    out.append("\"").append(name).append("\" < ");
    if (!AppendPlainAddress(rest.substr(1), out, complete)) return false;
    out.append(" >");
    return true;
  }
  std::size_t end = kPlaces.End(mailbox, 0, Places::kName);
  if (end == mailbox.size() || (mailbox[end] != '<' && mailbox[end] != '@')) return false;
  if (mailbox[end] == '<') {
    std::size_t nameEnd = end;
    while (nameEnd > 0 && IsWhiteSpace(mailbox[nameEnd - 1])) --nameEnd;
    out.append("\"").append(mailbox.substr(0, nameEnd)).append("\" < ");
    if (!AppendPlainAddress(mailbox.substr(end + 1), out, complete)) return false;
    out.append(" >");
    return true;
  }
  // A bare address ends at white space.
  end = kPlaces.End(mailbox, end, Places::kBare);
  if (end < mailbox.size() && !IsWhiteSpace(mailbox[end])) return false;
  complete &= WithoutLeadingSpace(mailbox.substr(end)).empty();
  out.append("\"\" < ").append(mailbox.substr(0, end)).append(" >");
  return true;
}

template <typename Char>
bool Rewrite(std::basic_string_view<Char> list, std::basic_string<Char>& out) {
  static constexpr Char kBeforeAddress[] = {'"', ' ', '<', ' '};
  static constexpr Char kBehindAddress[] = {' ', '>'};
  bool first = true;
  bool complete = true;
  std::basic_string<Char> name;
  std::basic_string<Char> address;
  ForEachPiece(list, [&](std::basic_string_view<Char> piece) {
    // The blanks inside the angle brackets are trimmed when the field is parsed.
    if (!first) out += Char{','};
    first = false;
    if constexpr (sizeof(Char) == 1) {
      const std::size_t size = out.size();
      if (RewritePlain(piece, out, complete)) return;
      out.resize(size);
    }
    complete = false;
    name.clear();
    address.clear();
    MailboxScanner<Char>(piece, name, address).Scan();
    out += Char{'"'};
    AppendEscaped<Char>(name, out);
    out.append(kBeforeAddress, std::size(kBeforeAddress));
    out.append(address);
    out.append(kBehindAddress, std::size(kBehindAddress));
  });
  return complete;
}

// A double quote at the end that no other one opens.
bool EndsInStrayQuote(const std::u16string& name) {
  if (name.empty() || name.back() != u'"') return false;
  std::size_t quotes = 0;
  for (const char16_t c : name) quotes += c == u'"';
  return quotes % 2 == 1;
}

// "=?charset?q?text" without its "?=" and without white space.
bool OpensEncodedWord(const std::u16string& name) {
  const std::size_t start = name.rfind(u"=?");
  if (start == std::u16string::npos) return false;
  const std::size_t encoding = name.find(u'?', start + 2);
  if (encoding == std::u16string::npos || encoding + 2 >= name.size() ||
      name[encoding + 2] != u'?') {
    return false;
  }
  if (name.find(u"?=", encoding + 3) != std::u16string::npos) return false;
  return name.find_first_of(u" \t", start) == std::u16string::npos;
}

// "text?=" without the "=?" that opens the word.
bool ClosesEncodedWord(const std::u16string& name) {
  const std::size_t end = name.find(u"?=");
  return end != std::u16string::npos && end < std::min(name.find(u"=?"), name.find(u' '));
}

// The piece that opens the encoded word which the piece after `run` closes; run.size() when none
// does.
std::size_t FindOpenEncodedWord(std::span<const MailBox> run) {
  for (std::size_t i = run.size(); i > 0; --i) {
    const std::u16string& name = run[i - 1].name;
    if (name.find(u'?') == std::u16string::npos) continue;
    return OpensEncodedWord(name) ? i - 1 : run.size();
  }
  return run.size();
}

void PrependPieces(std::span<const MailBox> pieces, std::u16string_view separator,
                   std::u16string& name) {
  if (pieces.empty()) return;
  std::u16string whole;
  for (const MailBox& piece : pieces) whole.append(piece.name).append(separator);
  name.insert(0, whole);
}

// A group's name or end is never a piece of a quoted name.
bool CanBePieceOfName(const MailBox& piece) {
  return piece.address.empty() && !piece.name.empty() &&
         piece.name.find_first_of(u":;") == std::u16string::npos;
}

void Trim(std::u16string& text) {
  while (!text.empty() && IsWhiteSpace(text.back())) text.pop_back();
  std::size_t start = 0;
  while (start < text.size() && IsWhiteSpace(text[start])) ++start;
  text.erase(0, start);
}

}  // namespace

void SplitMailBoxes(std::u16string_view list, std::vector<std::u16string>& out) {
  ForEachPiece(list, [&](std::u16string_view piece) { out.emplace_back(piece); });
}

void ParseEmailAddress(const std::u16string& mailbox, std::u16string& name,
                       std::u16string& address) {
  MailboxScanner<char16_t>(mailbox, name, address).Scan();
}

void ParseEmailAddress(std::string_view mailbox, std::string& name, std::string& address) {
  MailboxScanner<char>(mailbox, name, address).Scan();
}

void RejoinMailBoxes(std::vector<MailBox>& mailboxes) {
  std::size_t kept = 0;      // mailboxes[0, kept) is the result so far
  std::size_t runStart = 0;  // from here to kept: pieces that may begin a cut name
  for (std::size_t i = 0; i < mailboxes.size(); ++i) {
    MailBox mailbox = std::move(mailboxes[i]);
    const std::span run(mailboxes.data() + runStart, kept - runStart);
    if (ClosesEncodedWord(mailbox.name)) {
      const std::size_t first = FindOpenEncodedWord(run);
      PrependPieces(run.subspan(first), u",", mailbox.name);
      kept = runStart + first;
    }
    if (kept > runStart && EndsInStrayQuote(mailbox.name)) {
      mailbox.name.pop_back();
      PrependPieces(run.first(kept - runStart), u", ", mailbox.name);
      kept = runStart;
      mailboxes[kept++] = std::move(mailbox);
      runStart = kept;
      continue;
    }
    const bool piece = CanBePieceOfName(mailbox);
    mailboxes[kept++] = std::move(mailbox);
    if (!piece) runStart = kept;
  }
  mailboxes.resize(kept);
}

void ParseMailBoxList(std::u16string_view list, std::vector<MailBox>& out) {
  std::vector<MailBox> mailboxes;
  ForEachPiece(list, [&](std::u16string_view piece) {
    MailBox mailbox;
    MailboxScanner<char16_t>(piece, mailbox.name, mailbox.address).Scan();
    Trim(mailbox.name);
    Trim(mailbox.address);
    mailboxes.push_back(std::move(mailbox));
  });
  RejoinMailBoxes(mailboxes);
  out.insert(out.end(), std::make_move_iterator(mailboxes.begin()),
             std::make_move_iterator(mailboxes.end()));
}

std::u16string EscapeQuotedName(std::u16string_view name) {
  std::u16string escaped;
  escaped.reserve(name.size());
  AppendEscaped(name, escaped);
  return escaped;
}

void RewriteMailBoxes(std::u16string_view list, std::u16string& out) { Rewrite(list, out); }

bool RewriteMailBoxes(std::string_view list, std::string& out) { return Rewrite(list, out); }

}  // namespace QuelmarMIMEEngineCommon
