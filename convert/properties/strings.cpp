#include "convert/properties/strings.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "mapi/entry_points.h"
#include "platform/text.h"

namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities {
namespace {

template <typename Text, typename Predicate>
void Trim(Text& text, Predicate isBlank) {
  text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), isBlank));
  text.erase(std::find_if_not(text.rbegin(), text.rend(), isBlank).base(), text.end());
}

}  // namespace

void TrimStringW(std::u16string& text) { Trim(text, parvane::platform::IsWhiteSpace); }

void TrimString(std::string& text) { Trim(text, parvane::platform::IsAsciiWhiteSpace); }

void stringTowstring(const std::string& text, std::u16string& wide) {
  wide.clear();
  const std::string_view untilZero(text.c_str());
  parvane::platform::AppendUtf8AsUtf16(untilZero, wide);
}

void CloneEntryId(parvane::mapi::ULONG size, const void* bytes, parvane::mapi::SBinary** out) {
  if (!out) return;
  *out = nullptr;
  if (!bytes) size = 0;
  void* copy = nullptr;
  if (parvane::mapi::MAPIAllocateBuffer(size, &copy) < 0 || !copy) return;
  auto* entryId = new (std::nothrow) parvane::mapi::SBinary{};
  if (!entryId) {
    parvane::mapi::MAPIFreeBuffer(copy);
    return;
  }
  if (size > 0) std::memcpy(copy, bytes, size);
  entryId->cb = size;
  entryId->lpb = static_cast<parvane::mapi::BYTE*>(copy);
  *out = entryId;
}

void DeleteEntryId(parvane::mapi::SBinary** entryId) {
  if (!entryId || !*entryId) return;
  parvane::mapi::MAPIFreeBuffer((*entryId)->lpb);
  delete *entryId;
  *entryId = nullptr;
}

int ConvertHTMLToPlainText(const std::u16string&, std::u16string&) { return 0; }

}  // namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities
