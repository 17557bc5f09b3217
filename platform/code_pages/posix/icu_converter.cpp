#include "platform/code_pages/posix/icu_converter.h"

#include <memory>
#include <unordered_map>

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

namespace parvane::platform {
namespace {

struct Close {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, Close>;

constexpr std::size_t kChunk = 4096;

// Writes U+FFFD for what cannot be read, whatever substitute the page has of its own. GBK's euro
// sign, a byte that GB18030 has left free, is read after all.
void U_CALLCONV ReplaceBytes(const void* context, UConverterToUnicodeArgs* arguments,
                             const char* bytes, std::int32_t length,
                             UConverterCallbackReason reason, UErrorCode* error) {
  if (reason > UCNV_IRREGULAR) return;
  *error = U_ZERO_ERROR;
  char16_t character = 0xFFFD;
  if (length == 1 && bytes[0] == '\x80' && ucnv_getType(arguments->converter) == UCNV_MBCS) {
    UErrorCode nameError = U_ZERO_ERROR;
    const char* name = ucnv_getName(arguments->converter, &nameError);
    if (U_SUCCESS(nameError) && std::string_view(name) == "gb18030") character = 0x20AC;
  }
  if (character == 0xFFFD) ++*static_cast<std::size_t*>(const_cast<void*>(context));
  ucnv_cbToUWriteUChars(arguments, &character, 1, 0, error);
}

void U_CALLCONV ReplaceCharacter(const void* context, UConverterFromUnicodeArgs* arguments,
                                 const char16_t*, std::int32_t, UChar32,
                                 UConverterCallbackReason reason, UErrorCode* error) {
  if (reason > UCNV_IRREGULAR) return;
  ++*static_cast<std::size_t*>(const_cast<void*>(context));
  *error = U_ZERO_ERROR;
  const char16_t mark[] = {u'?'};
  const char16_t* from = mark;
  ucnv_cbFromUWriteUChars(arguments, &from, mark + 1, 0, error);
}

// This thread's converter, reset; null when ICU's data lacks it.
UConverter* Open(const char* name) {
  thread_local std::unordered_map<const char*, Converter> opened;
  auto [at, isNew] = opened.try_emplace(name);
  if (isNew) {
    UErrorCode error = U_ZERO_ERROR;
    at->second.reset(ucnv_open(name, &error));
  }
  if (at->second != nullptr) ucnv_reset(at->second.get());
  return at->second.get();
}

}  // namespace

std::size_t IcuDecode(const char* name, std::string_view bytes, std::u16string& out) {
  UConverter* const converter = Open(name);
  std::size_t invalid = 0;
  if (converter == nullptr) {
    for (const char c : bytes) {
      const bool ascii = static_cast<unsigned char>(c) < 0x80;
      out += ascii ? static_cast<char16_t>(c) : u'\uFFFD';
      invalid += ascii ? 0 : 1;
    }
    return invalid;
  }
  UErrorCode error = U_ZERO_ERROR;
  ucnv_setToUCallBack(converter, ReplaceBytes, &invalid, nullptr, nullptr, &error);
  char16_t chunk[kChunk];
  const char* in = bytes.data();
  const char* const end = in + bytes.size();
  do {
    error = U_ZERO_ERROR;
    char16_t* to = chunk;
    ucnv_toUnicode(converter, &to, chunk + kChunk, &in, end, nullptr, true, &error);
    out.append(chunk, to);
  } while (error == U_BUFFER_OVERFLOW_ERROR);
  return invalid;
}

std::size_t IcuEncode(const char* name, std::u16string_view text, std::string& out) {
  UConverter* const converter = Open(name);
  std::size_t replaced = 0;
  if (converter == nullptr) {
    for (const char16_t unit : text) {
      out += unit < 0x80 ? static_cast<char>(unit) : '?';
      replaced += unit < 0x80 ? 0 : 1;
    }
    return replaced;
  }
  UErrorCode error = U_ZERO_ERROR;
  ucnv_setFromUCallBack(converter, ReplaceCharacter, &replaced, nullptr, nullptr, &error);
  char chunk[kChunk];
  const char16_t* in = text.data();
  const char16_t* const end = in + text.size();
  do {
    error = U_ZERO_ERROR;
    char* to = chunk;
    ucnv_fromUnicode(converter, &to, chunk + kChunk, &in, end, nullptr, true, &error);
    out.append(chunk, to);
  } while (error == U_BUFFER_OVERFLOW_ERROR);
  return replaced;
}

}  // namespace parvane::platform
