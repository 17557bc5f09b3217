#include "sources/address_losses.h"

#include <algorithm>
#include <utility>

#include "mime/address_list.h"
#include "mime/mailbox.h"
#include "platform/text.h"

namespace parvane::sources {
namespace {

using MailBox = QuelmarMIMEEngineCommon::MailBox;

// No mailbox is longer, whatever its quotes say: so much is taken at once.
constexpr std::size_t kLongestMailBox = 16'384;

// Cuts a list where mailboxes end for a reader who heeds quotes, comments, brackets and groups, so
// that each piece can be compared with what became of it.
template <typename Char>
class MailBoxCutter {
 public:
  explicit MailBoxCutter(std::basic_string_view<Char> list)
      : _rest(list), _semicolons(std::count(list.begin(), list.end(), Char{';'})) {}

  bool AtEnd() const { return _rest.empty(); }
  // True when the last piece went on where a comma should have stood before it, so that nothing of
  // it was kept.
  bool Continued() const { return _continued; }

  std::basic_string_view<Char> Next() {
    std::size_t at = 0;
    _quoted = _bracketed = _grouped = false;
    _comments = 0;
    _continued = std::exchange(_cut, false);
    while (at < _rest.size() && !EndsAt(at))
      at += _rest[at] == '\\' && at + 1 < _rest.size() ? 2 : 1;
    const auto mailbox = _rest.substr(0, at);
    _rest.remove_prefix(std::min(at + 1, _rest.size()));
    return mailbox;
  }

 private:
  // Takes the character there into account.
  bool EndsAt(std::size_t at) {
    const Char c = _rest[at];
    if (c == ';') --_semicolons;
    if (at > kLongestMailBox && (c == ',' || c == ';' || c == ' ' || at > 4 * kLongestMailBox)) {
      _cut = c != ',';
      return true;
    }
    if (c == '"' && _comments == 0) _quoted = !_quoted;
    if (_quoted) return false;
    if (c == '(') ++_comments;
    if (c == ')' && _comments > 0) --_comments;
    if (_comments > 0) return false;
    if (c == '<' || c == '>') _bracketed = c == '<';
    if (_bracketed) return false;
    if (c == ':' && _semicolons > 0) _grouped = true;
    if (c == ';') _grouped = false;
    return c == ',' && !_grouped;
  }

  std::basic_string_view<Char> _rest;
  std::ptrdiff_t _semicolons;  // that are still to come
  bool _cut = false;
  bool _continued = false;
  bool _quoted = false;
  bool _bracketed = false;
  bool _grouped = false;
  std::size_t _comments = 0;
};

// What counts in comparing: letter case, white space and quoting do not.
bool Counts(char16_t c) {
  switch (c) {
    case u'"':
    case u'\\':
    case u',':
    case u';':
    case u'(':
    case u')':
      return false;
    default:
      return !platform::IsWhiteSpace(c);
  }
}

void AppendEssence(std::u16string_view text, std::u16string& out) {
  out.reserve(out.size() + text.size());
  for (const char16_t c : text) {
    if (c >= u'a' && c <= u'z') {
      out += c;
    } else if (c >= u'A' && c <= u'Z') {
      out += static_cast<char16_t>(c + 32);
    } else if (Counts(c)) {
      out += c;
    }
  }
}

std::u16string Essence(std::u16string_view text) {
  std::u16string out;
  AppendEssence(text, out);
  return out;
}

void Compare(std::u16string_view mailbox, bool continued, const TakeAddressLoss& take) {
  std::u16string rewritten;
  if (!continued) QuelmarMIMEEngineCommon::RewriteMailBoxes(mailbox, rewritten);
  std::u16string names;
  std::u16string addresses;
  for (const MailBox& kept : Tessary::ParseAddressList(rewritten)) {
    AppendEssence(kept.name, names);
    AppendEssence(kept.address, addresses);
  }
  const std::u16string everything = names + addresses;
  const auto holds = [](const std::u16string& text, std::u16string_view part) {
    return text.find(Essence(part)) != text.npos;
  };
  for (const MailBox& original : Tessary::ParseAddressList(mailbox)) {
    if (original.address.empty() ? !holds(everything, original.name)
                                 : !holds(everything, original.address)) {
      std::u16string text;
      Tessary::AppendMailBox(original, text);
      take({std::move(text), {}});
    } else if (!original.address.empty() && !holds(names, original.name) &&
               Essence(original.name) != Essence(original.address)) {
      take({original.name, original.address});
    }
  }
}

}  // namespace

void FindAddressLosses(std::string_view list, const TakeAddressLoss& take) {
  std::string scratch;
  std::vector<QuelmarMIMEEngineCommon::MailBoxLengths> lengths;
  for (MailBoxCutter<char> cutter(list); !cutter.AtEnd();) {
    const std::string_view mailbox = cutter.Next();
    scratch.clear();
    lengths.clear();
    if (cutter.Continued() ||
        !QuelmarMIMEEngineCommon::RewriteMailBoxes(mailbox, scratch, lengths).complete) {
      Compare(platform::Utf8ToUtf16(mailbox), cutter.Continued(), take);
    }
  }
}

void FindAddressLosses(std::u16string_view list, const TakeAddressLoss& take) {
  for (MailBoxCutter<char16_t> cutter(list); !cutter.AtEnd();) {
    const std::u16string_view mailbox = cutter.Next();
    Compare(mailbox, cutter.Continued(), take);
  }
}

}  // namespace parvane::sources
