#include "mime/encoded_words.h"

#include "mime/content_coding.h"
#include "platform/text.h"

namespace Tessary {

std::u16string DecodeEncodedWords(std::u16string_view text) {
  if (text.find(u"=?") == std::u16string_view::npos) return std::u16string(text);
  const std::string utf8 = parvane::platform::Utf16ToUtf8(text);
  if (!ContentCoding::HasEncodedWords(utf8)) return std::u16string(text);
  return ContentCoding::DecodeHeaderToUtf16(utf8, "utf-8");
}

}  // namespace Tessary
