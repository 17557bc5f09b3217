#include <memory>
#include <string>

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

#include "platform/code_page.h"
#include "platform/text.h"

namespace parvane::platform {
namespace {

const char* IcuName(unsigned codePage) {
  switch (codePage) {
    case 28591:
    case 1252:
      return "windows-1252";
    case 28592:
      return "iso-8859-2";
    case 932:
      return "windows-31j";
    case 936:
      return "gb18030";
    case 949:
      return "windows-949";
    case 950:
      return "windows-950";
    case 1251:
      return "windows-1251";
    case 20866:
      return "koi8-r";
    case 50220:
    case 50221:
    case 50222:
      return "ISO-2022-JP";
    case 1200:
      return "UTF-16LE";
    case 1201:
      return "UTF-16BE";
    default:
      return nullptr;
  }
}

// Counts what cannot be read and writes U+FFFD for it, whatever the page's own substitute is.
void U_CALLCONV Replace(const void* context, UConverterToUnicodeArgs* arguments, const char*,
                        std::int32_t, UConverterCallbackReason reason, UErrorCode* error) {
  if (reason > UCNV_IRREGULAR) return;
  ++*static_cast<std::size_t*>(const_cast<void*>(context));
  *error = U_ZERO_ERROR;
  const char16_t replacement = 0xFFFD;
  ucnv_cbToUWriteUChars(arguments, &replacement, 1, 0, error);
}

using Converter = std::unique_ptr<UConverter, void (*)(UConverter*)>;

}  // namespace

bool IsCodePageSupported(unsigned codePage) {
  return codePage == kCodePageUtf8 || IcuName(codePage) != nullptr;
}

std::size_t DecodeCodePage(unsigned codePage, std::string_view bytes, std::u16string& out) {
  if (codePage == kCodePageUtf8) return AppendUtf8AsUtf16Counted(bytes, out).invalid;
  const char* name = IcuName(codePage);
  UErrorCode error = U_ZERO_ERROR;
  const Converter converter(ucnv_open(name != nullptr ? name : "windows-1252", &error), ucnv_close);
  std::size_t invalid = 0;
  ucnv_setToUCallBack(converter.get(), Replace, &invalid, nullptr, nullptr, &error);
  char16_t chunk[1024];
  const char* in = bytes.data();
  const char* const end = in + bytes.size();
  do {
    error = U_ZERO_ERROR;
    char16_t* to = chunk;
    ucnv_toUnicode(converter.get(), &to, chunk + 1024, &in, end, nullptr, true, &error);
    out.append(chunk, to);
  } while (error == U_BUFFER_OVERFLOW_ERROR);
  return invalid;
}

std::size_t EncodeCodePage(unsigned codePage, std::u16string_view text, std::string& out) {
  if (codePage == kCodePageUtf8) {
    AppendUtf16AsUtf8(text, out);
    return 0;
  }
  const char* name = IcuName(codePage);
  UErrorCode error = U_ZERO_ERROR;
  const Converter converter(ucnv_open(name != nullptr ? name : "windows-1252", &error), ucnv_close);
  char chunk[1024];
  const char16_t* in = text.data();
  const char16_t* const end = in + text.size();
  do {
    error = U_ZERO_ERROR;
    char* to = chunk;
    ucnv_fromUnicode(converter.get(), &to, chunk + 1024, &in, end, nullptr, true, &error);
    out.append(chunk, to);
  } while (error == U_BUFFER_OVERFLOW_ERROR);
  return 0;
}

}  // namespace parvane::platform
