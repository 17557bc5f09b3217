#include "mime/address_list.h"

#include <algorithm>
#include <string>
#include <utility>

#include "mime/encoded_words.h"
#include "platform/text.h"

namespace Tessary {
namespace {

using parvane::platform::IsWhiteSpace;
constexpr auto kNone = std::u16string_view::npos;

std::u16string_view Trim(std::u16string_view text) {
  while (!text.empty() && IsWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

// Text read from a mailbox; `literal` text came out of quotes or an escape, where "@" and blanks
// mean nothing.
struct Piece {
  std::u16string text;
  bool literal = false;
  bool spaceBefore = false;
};

// What has been read of one mailbox.
struct Draft {
  std::vector<Piece> phrase;
  std::u16string comment;
  std::u16string address;
  bool bracketed = false;
  bool hasAt = false;  // in a piece that is not literal
};

class ListReader {
 public:
  ListReader(std::u16string_view list, std::vector<MailBox>& out)
      : _list(list), _out(out), _lastSemicolon(list.rfind(u';')) {}

  void Read() {
    while (_next < _list.size()) ReadOne();
    Finish();
  }

 private:
  void ReadOne() {
    const char16_t c = _list[_next];
    switch (c) {
      case u',':
      case u';':
        ++_next;
        Finish();
        return;
      case u'<':
        ReadBracketed();
        return;
      case u'>':
        ++_next;
        return;
      case u'"':
        ReadQuoted();
        return;
      case u'(':
        ReadComment();
        return;
      case u':':
        ++_next;
        // The name of a group, when its end follows; else text like any other.
        if (_lastSemicolon != kNone && _lastSemicolon >= _next && !_draft.bracketed &&
            !_draft.hasAt) {
          _draft = Draft();
        } else {
          Atom(u":");
        }
        return;
      default:
        ReadWord();
    }
  }

  void Atom(std::u16string_view text) {
    auto& phrase = _draft.phrase;
    if (phrase.empty() || phrase.back().literal || _space) {
      Add({std::u16string(text), false, _space});
    } else {
      phrase.back().text += text;
    }
    _draft.hasAt |= text.find(u'@') != kNone;
    _space = false;
  }

  // A name of more words than anyone has is put together as it is read.
  void Add(Piece&& piece) {
    constexpr std::size_t kMostPieces = 1024;
    auto& phrase = _draft.phrase;
    if (phrase.size() < kMostPieces) {
      phrase.push_back(std::move(piece));
      return;
    }
    if (piece.spaceBefore) phrase.back().text += u' ';
    phrase.back().text += piece.text;
  }

  void ReadWord() {
    const char16_t c = _list[_next];
    if (IsWhiteSpace(c)) {
      _space = true;
      ++_next;
      return;
    }
    if (c == u'\\' && _next + 1 < _list.size()) {
      Atom(_list.substr(_next + 1, 1));
      _next += 2;
      return;
    }
    std::size_t end = EndOfEncodedWord();
    if (end == kNone && c == u'[') end = EndOfDomainLiteral();
    if (end == kNone) {
      end = _next + 1;
      while (end < _list.size() && !IsWhiteSpace(_list[end]) &&
             std::u16string_view(u",;:<>\"(\\[=").find(_list[end]) == kNone) {
        ++end;
      }
    }
    Atom(_list.substr(_next, end - _next));
    _next = end;
  }

  // An encoded word counts as one word whatever it holds; npos when none begins here.
  std::size_t EndOfEncodedWord() const {
    if (_list.substr(_next, 2) != u"=?") return kNone;
    std::size_t at = _next + 2;
    int marks = 0;  // question marks read: behind the charset, behind the encoding
    for (; at < _list.size() && !IsWhiteSpace(_list[at]); ++at) {
      if (_list[at] != u'?') continue;
      if (++marks == 3) return _list.substr(at + 1, 1) == u"=" ? at + 2 : kNone;
    }
    return kNone;
  }

  std::size_t EndOfDomainLiteral() const {
    constexpr std::size_t kLongest = 256;
    const std::size_t length = _list.substr(_next, kLongest).find_first_of(u"],<>\"");
    return length != kNone && _list[_next + length] == u']' ? _next + length + 1 : kNone;
  }

  void ReadQuoted() {
    Piece piece{{}, true, _space};
    _space = false;
    for (++_next; _next < _list.size() && _list[_next] != u'"'; ++_next) {
      if (_list[_next] == u'\\' && _next + 1 < _list.size()) ++_next;
      piece.text += _list[_next];
    }
    if (_next < _list.size()) ++_next;
    Add(std::move(piece));
  }

  void ReadComment() {
    std::size_t depth = 0;
    std::u16string text;
    for (; _next < _list.size(); ++_next) {
      const char16_t c = _list[_next];
      if (c == u'(' && depth++ == 0) continue;
      if (c == u')' && --depth == 0) break;
      if (c == u'\\' && _next + 1 < _list.size()) ++_next;
      text += _list[_next];
    }
    if (_next < _list.size()) ++_next;
    _space = true;
    if (_draft.comment.empty()) _draft.comment = Trim(text);
  }

  // "<" address ">". Without ">" the address ends at the next comma; a second "<" shows that what
  // came before it belongs to the name.
  void ReadBracketed() {
    ++_next;
    std::u16string address;
    const bool enclosed = IsEnclosed();
    const std::size_t start = std::min(_list.find_first_not_of(u" \t", _next), _list.size());
    const bool route = start < _list.size() && _list[start] == u'@';
    for (; _next < _list.size(); ++_next) {
      const char16_t c = _list[_next];
      if (c == u'>') break;
      if (c == u',' && !route && !enclosed) break;
      if (c == u'<') {
        if (!address.empty()) Atom(address);
        address.clear();
      } else if (c == u'"') {
        CopyQuoted(address);
      } else if (c == u'(') {
        ReadComment();
        --_next;
      } else if (!IsWhiteSpace(c)) {
        address += c;
      }
    }
    if (_next < _list.size() && _list[_next] == u'>') ++_next;
    // Of two bracketed addresses without a comma between them neither may be lost.
    if (_draft.bracketed && !_draft.address.empty() && !address.empty()) Finish();
    _draft.bracketed = true;
    if (!address.empty()) _draft.address = std::move(address);
    _space = true;
  }

  // True when the ">" of the bracket just read comes before any further "<".
  bool IsEnclosed() {
    if (_nextClose != kNone && _nextClose < _next) _nextClose = _list.find(u'>', _next);
    if (_nextClose == kNone) return false;
    return _list.substr(_next, _nextClose - _next).find(u'<') == kNone;
  }

  // A quoted local part keeps its quotes.
  void CopyQuoted(std::u16string& address) {
    address += _list[_next++];
    for (; _next < _list.size() && _list[_next] != u'"'; ++_next) {
      if (_list[_next] == u'\\' && _next + 1 < _list.size()) address += _list[_next++];
      address += _list[_next];
    }
    address += u'"';
    if (_next == _list.size()) --_next;
  }

  void Finish() {
    Draft draft = std::exchange(_draft, Draft());
    _space = false;
    MailBox mailbox;
    if (!draft.bracketed) TakeBareAddress(draft);
    for (const Piece& piece : draft.phrase) {
      if (piece.spaceBefore && !mailbox.name.empty()) mailbox.name += u' ';
      mailbox.name += piece.text;
    }
    mailbox.name = Trim(mailbox.name);
    mailbox.address = std::move(draft.address);
    if (mailbox.name.empty()) mailbox.name = std::move(draft.comment);
    if (!mailbox.name.empty() || !mailbox.address.empty()) _out.push_back(std::move(mailbox));
  }

  // Moves the word with the "@" from the phrase to the address, with what touches it: a quoted
  // local part, or parts with blanks around the "@" or the dots.
  static void TakeBareAddress(Draft& draft) {
    auto& phrase = draft.phrase;
    std::size_t first = 0;
    while (first < phrase.size() &&
           (phrase[first].literal || phrase[first].text.find(u'@') == kNone)) {
      ++first;
    }
    if (first == phrase.size()) return;
    std::size_t last = first + 1;
    while (first > 0 && Touch(phrase[first - 1], phrase[first])) --first;
    while (last < phrase.size() && Touch(phrase[last - 1], phrase[last])) ++last;
    for (std::size_t i = first; i < last; ++i) {
      draft.address += phrase[i].literal ? u"\"" + phrase[i].text + u"\"" : phrase[i].text;
    }
    phrase.erase(phrase.begin() + static_cast<std::ptrdiff_t>(first),
                 phrase.begin() + static_cast<std::ptrdiff_t>(last));
  }

  static bool Touch(const Piece& left, const Piece& right) {
    if (left.text.empty() || right.text.empty()) return false;
    if (!right.spaceBefore) return true;
    const auto joins = [](char16_t c) { return c == u'@' || c == u'.'; };
    return (!left.literal && joins(left.text.back())) ||
           (!right.literal && joins(right.text.front()));
  }

  std::u16string_view _list;
  std::vector<MailBox>& _out;
  std::size_t _lastSemicolon;
  std::size_t _next = 0;
  std::size_t _nextClose = 0;  // the first ">" at or after _next, when that was last asked
  Draft _draft;
  bool _space = false;
};

// Strips a route ("@relay:"), a group's name or "mailto:" from the front of an address.
void StripPrefix(std::u16string& address) {
  const std::size_t at = address.rfind(u'@');
  if (at == std::u16string::npos || address.find(u'"') < at) return;
  const std::size_t colon = address.rfind(u':', at);
  if (colon != std::u16string::npos) address.erase(0, colon + 1);
}

// Message repair cuts a group at its commas: "Friends: a@b" and "c@d;" are then two mailboxes, or
// the same in names. Takes the group's name and its semicolon away again.
void JoinCutGroups(std::vector<MailBox>& mailboxes) {
  MailBox* open = nullptr;
  for (MailBox& mailbox : mailboxes) {
    std::u16string& last = mailbox.address.empty() ? mailbox.name : mailbox.address;
    if (open == nullptr && mailbox.name.find(u':') != std::u16string::npos) open = &mailbox;
    const bool closes = last.ends_with(u';');
    if (closes) last.pop_back();
    StripPrefix(mailbox.address);
    if (!closes) continue;
    if (open != nullptr) {
      open->name =
          std::u16string(Trim(std::u16string_view(open->name).substr(open->name.find(u':') + 1)));
    }
    open = nullptr;
  }
}

// An address that was put between quotes.
bool LooksLikeAddress(std::u16string_view name) {
  const std::size_t at = name.find(u'@');
  return at != kNone && at > 0 && at + 1 < name.size() && name.find_first_of(u" ,;<>\"=") == kNone;
}

// "<" something ">".
bool EndsInAddress(std::string_view list) {
  const auto dropBlanks = [&] {
    while (!list.empty() && parvane::platform::IsAsciiWhiteSpace(list.back())) {
      list.remove_suffix(1);
    }
  };
  dropBlanks();
  if (!list.ends_with('>')) return false;
  list.remove_suffix(1);
  dropBlanks();
  return !list.empty() && list.back() != '<';
}

bool MustBeQuoted(char16_t c) {
  switch (c) {
    case u'"':
    case u'\\':
    case u'(':
    case u')':
    case u',':
    case u':':
    case u';':
    case u'<':
    case u'>':
    case u'@':
    case u'[':
    case u']':
    case u'.':
      return true;
    default:
      return false;
  }
}

}  // namespace

std::vector<MailBox> ParseAddressList(std::u16string_view list) {
  std::vector<MailBox> mailboxes;
  ListReader(list, mailboxes).Read();
  QuelmarMIMEEngineCommon::RejoinMailBoxes(mailboxes);
  JoinCutGroups(mailboxes);
  for (MailBox& mailbox : mailboxes) {
    if (mailbox.address.empty() && LooksLikeAddress(mailbox.name)) {
      mailbox.address = std::exchange(mailbox.name, {});
    }
    if (mailbox.name.find(u"=?") == std::u16string::npos) continue;
    mailbox.name = Trim(DecodeEncodedWords(mailbox.name));
  }
  std::erase_if(mailboxes, [](const MailBox& m) { return m.name.empty() && m.address.empty(); });
  return mailboxes;
}

std::string_view TakePiece(std::string_view& list) {
  constexpr std::size_t kPiece = 128 * 1024;
  bool quoted = false;
  std::size_t at = 0;
  for (; at < list.size(); ++at) {
    if (list[at] == '\\') {
      ++at;
    } else if (list[at] == '"') {
      quoted = !quoted;
    } else if (list[at] == ',' && at >= kPiece) {
      if (at >= 3 * kPiece || (!quoted && at >= 2 * kPiece)) break;
      if (!quoted && EndsInAddress(list.substr(0, at))) break;
    }
  }
  const std::string_view piece = list.substr(0, at);
  list.remove_prefix(std::min(at + 1, list.size()));
  return piece;
}

void AppendMailBox(const MailBox& mailbox, std::u16string& out) {
  if (mailbox.name.empty()) {
    out.append(mailbox.address);
    return;
  }
  if (std::none_of(mailbox.name.begin(), mailbox.name.end(), MustBeQuoted)) {
    out.append(mailbox.name);
  } else {
    out.append(u"\"").append(QuelmarMIMEEngineCommon::EscapeQuotedName(mailbox.name));
    out.append(u"\"");
  }
  if (!mailbox.address.empty()) out.append(u" <").append(mailbox.address).append(u">");
}

}  // namespace Tessary
