#include "mime/mailbox.h"

#include <algorithm>
#include <span>
#include <utility>

#include "platform/text.h"

namespace QuelmarMIMEEngineCommon {
namespace {

using parvane::platform::IsWhiteSpace;

// Reads text in which "\" escapes and "(" ")" enclose comments, one unit at a time.
class CommentFilter {
 public:
  enum class Unit { kText, kPlain, kDropped };

  // kText: an escaped unit, to be taken literally. kPlain: a unit outside comments that may mean
  // something. kDropped: part of a comment or of the syntax.
  Unit Read(char16_t c) {
    if (_escape) {
      _escape = false;
      return _depth == 0 ? Unit::kText : Unit::kDropped;
    }
    if (c == u'\\') {
      _escape = true;
      return Unit::kDropped;
    }
    if (c == u'(') {
      ++_depth;
      return Unit::kDropped;
    }
    if (_depth == 0) return Unit::kPlain;
    if (c == u')') --_depth;
    return Unit::kDropped;
  }

 private:
  bool _escape = false;
  std::size_t _depth = 0;
};

class MailboxScanner {
 public:
  MailboxScanner(const std::u16string& mailbox, std::u16string& name, std::u16string& address)
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
  bool AtEnd() const { return _next == _text.size(); }

  void SkipWhiteSpace() {
    while (!AtEnd() && IsWhiteSpace(_text[_next])) ++_next;
  }

  void ScanName() {
    if (_text[_next] == u'<') {
      _state = States::Address;
    } else if (_text[_next] == u'"') {
      if (ScanQuotedName()) AfterName();
    } else if (ScanPlainName()) {
      AfterName();
    }
  }

  // False when the closing quote is missing: the name is then all there is.
  bool ScanQuotedName() {
    ++_next;
    while (!AtEnd()) {
      const char16_t c = _text[_next++];
      if (c == u'"') return true;
      if (c != u'\\') {
        _name += c;
      } else if (!AtEnd()) {
        _name += _text[_next++];
      }
    }
    return false;
  }

  // False when the input ends inside the name.
  bool ScanPlainName() {
    CommentFilter filter;
    for (; !AtEnd(); ++_next) {
      const char16_t c = _text[_next];
      const auto unit = filter.Read(c);
      if (unit == CommentFilter::Unit::kDropped) continue;
      if (unit == CommentFilter::Unit::kPlain && (c == u'<' || c == u'@')) {
        if (c == u'<') TrimNameEnd();
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
    if (AtEnd() || _text[_next] != u'@') {
      _state = States::Between;
      return;
    }
    _address = _name;
    _name.clear();
    ScanBareAddress();
  }

  void ScanBareAddress() {
    CommentFilter filter;
    for (; !AtEnd(); ++_next) {
      const char16_t c = _text[_next];
      const auto unit = filter.Read(c);
      if (unit == CommentFilter::Unit::kPlain && IsWhiteSpace(c)) break;
      if (unit != CommentFilter::Unit::kDropped) _address += c;
    }
    _next = _text.size();
  }

  void ScanAddress() {
    if (_text[_next] == u'<') ++_next;
    CommentFilter filter;
    for (; !AtEnd(); ++_next) {
      const char16_t c = _text[_next];
      const auto unit = filter.Read(c);
      if (unit == CommentFilter::Unit::kDropped) continue;
      if (unit == CommentFilter::Unit::kText) {
        _address += c;
      } else if (c == u'<') {
        _name += _address;
        _address.clear();
      } else if (c == u'>') {
        return;
      } else if (!IsWhiteSpace(c)) {
        _address += c;
      }
    }
  }

  const std::u16string& _text;
  std::u16string& _name;
  std::u16string& _address;
  std::size_t _next = 0;
  States _state = States::Name;
};

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
  while (true) {
    const std::size_t comma = list.find(u',');
    const std::u16string_view token = list.substr(0, comma);
    if (!token.empty()) out.emplace_back(token);
    if (comma == std::u16string_view::npos) return;
    list.remove_prefix(comma + 1);
  }
}

void ParseEmailAddress(const std::u16string& mailbox, std::u16string& name,
                       std::u16string& address) {
  MailboxScanner(mailbox, name, address).Scan();
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
  std::vector<std::u16string> pieces;
  SplitMailBoxes(list, pieces);
  std::vector<MailBox> mailboxes;
  mailboxes.reserve(pieces.size());
  for (const std::u16string& piece : pieces) {
    MailBox mailbox;
    ParseEmailAddress(piece, mailbox.name, mailbox.address);
    Trim(mailbox.name);
    Trim(mailbox.address);
    mailboxes.push_back(std::move(mailbox));
  }
  RejoinMailBoxes(mailboxes);
  out.insert(out.end(), std::make_move_iterator(mailboxes.begin()),
             std::make_move_iterator(mailboxes.end()));
}

std::u16string EscapeQuotedName(std::u16string_view name) {
  std::u16string escaped;
  escaped.reserve(name.size());
  for (const char16_t c : name) {
    if (c == u'"' || c == u'\\') escaped += u'\\';
    escaped += c;
  }
  return escaped;
}

}  // namespace QuelmarMIMEEngineCommon
