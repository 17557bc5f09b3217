#include "convert/properties/one_off.h"

#include <string_view>

#include "convert/properties/strings.h"
#include "mapi/constants.h"
#include "mapi/entry_points.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "platform/text.h"

namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities {
namespace {

bool IsAlphanumeric(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
}

bool IsAtomCharacter(char16_t c) {
  static constexpr std::u16string_view kSpecials = u"!#$%&'*+/=?^_`{|}~-";
  return IsAlphanumeric(c) || kSpecials.find(c) != kSpecials.npos;
}

// Where the longest local part that ends at `at` begins, not before `from`; `at` when there is
// none.
std::size_t LocalPartStart(std::u16string_view text, std::size_t from, std::size_t at) {
  std::size_t start = at;
  while (start > from) {
    const char16_t before = text[start - 1];
    // A dot stands between two atom characters.
    const bool dot = before == u'.' && start < at && start - 1 > from &&
                     IsAtomCharacter(text[start - 2]) && IsAtomCharacter(text[start]);
    if (!dot && !IsAtomCharacter(before)) break;
    --start;
  }
  return start;
}

// Where the longest domain that begins at `begin` ends; `begin` when there is none.
std::size_t DomainEnd(std::u16string_view text, std::size_t begin) {
  std::size_t label = begin;
  bool hasDot = false;
  while (label < text.size() && IsAlphanumeric(text[label])) {
    std::size_t end = label;
    while (end < text.size() && (IsAlphanumeric(text[end]) || text[end] == u'-')) ++end;
    const bool another = IsAlphanumeric(text[end - 1]) && end + 1 < text.size() &&
                         text[end] == u'.' && IsAlphanumeric(text[end + 1]);
    if (!another) {
      if (!hasDot) return begin;
      while (text[end - 1] == u'-') --end;
      return end;
    }
    hasDot = true;
    label = end + 1;
  }
  return begin;
}

// Text without white space around it, and not empty.
bool IsTrimmedText(std::u16string_view text) {
  return !text.empty() && !parvane::platform::IsWhiteSpace(text.front()) &&
         !parvane::platform::IsWhiteSpace(text.back());
}

}  // namespace

void EnsureNonNullOneOff(std::u16string& name, std::u16string& address, bool extractFromName) {
  TrimStringW(name);
  TrimStringW(address);
  if (name.empty() && !address.empty()) name = address;
  if (!address.empty()) return;

  if (name.empty()) {
    name = u"-";
  } else if (extractFromName) {
    std::vector<std::u16string> found;
    ExtractEmails(name, found);
    if (!found.empty()) address = found.front();
  }
  if (address.empty()) address = u"-@-";
}

NormalOneOff::NormalOneOff(const std::u16string& name, const std::u16string& address)
    : _name(&name), _address(&address) {
  const bool fits = name.size() <= kMostCharacters && address.size() <= kMostCharacters;
  if (fits && IsTrimmedText(address) && (name.empty() || IsTrimmedText(name))) {
    if (name.empty()) _name = _address;
    return;
  }
  _ownName.assign(name, 0, kMostCharacters);
  _ownAddress.assign(address, 0, kMostCharacters);
  EnsureNonNullOneOff(_ownName, _ownAddress, false);
  _name = &_ownName;
  _address = &_ownAddress;
}

void ExtractEmails(const std::u16string& text, std::vector<std::u16string>& found) {
  const std::u16string_view view(text);
  std::size_t from = 0;
  for (std::size_t at = view.find(u'@'); at != view.npos; at = view.find(u'@', at + 1)) {
    const std::size_t start = LocalPartStart(view, from, at);
    if (start == at) continue;
    const std::size_t end = DomainEnd(view, at + 1);
    if (end == at + 1) continue;
    found.emplace_back(view.substr(start, end - start));
    from = end;
  }
}

}  // namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities

namespace QuelmarMIMEEngineCommon {

OneOffEntry::OneOffEntry(parvane::mapi::IAddrBook* addressBook, const std::u16string& name,
                         const std::u16string& address)
    : _text(name, address) {
  using parvane::mapi::NoteRefusal;
  using parvane::mapi::ToTString;
  constexpr std::size_t kMost = OrvMAPIUtilities::NormalOneOff::kMostCharacters;
  if (name.size() > kMost) {
    NoteRefusal(parvane::mapi::MAPI_E_TOO_BIG, parvane::mapi::PR_DISPLAY_NAME_W);
  }
  if (address.size() > kMost) {
    NoteRefusal(parvane::mapi::MAPI_E_TOO_BIG, parvane::mapi::PR_EMAIL_ADDRESS_W);
  }
  if (!addressBook) return;
  parvane::mapi::ENTRYID* entryId = nullptr;
  const parvane::mapi::HRESULT made = addressBook->CreateOneOff(
      ToTString(displayName().c_str()), ToTString(addressType()), ToTString(emailAddress().c_str()),
      parvane::mapi::MAPI_UNICODE, &_entryIdSize, &entryId);
  _entryId = reinterpret_cast<parvane::mapi::BYTE*>(entryId);
  if (parvane::mapi::Failed(made)) NoteRefusal(made, parvane::mapi::PR_ENTRYID);
  if (!entryId) _entryIdSize = 0;
}

OneOffEntry::~OneOffEntry() { parvane::mapi::MAPIFreeBuffer(_entryId); }

}  // namespace QuelmarMIMEEngineCommon
