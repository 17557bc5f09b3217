// A first line names the message's charset, the rest is a header's value.
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/expect.h"
#include "mime/content_coding.h"
#include "mime/text_decoding.h"
#include "platform/text.h"

namespace platform = parvane::platform;
using Tessary::ContentCoding;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string_view charset;
  if (const std::size_t end = text.find('\n'); end != text.npos) {
    charset = text.substr(0, end);
    text.remove_prefix(end + 1);
  }
  const std::string raw = ContentCoding::DecodeEncodedWords(text);
  if (text.find("=?") == text.npos) Expect(raw == text, "text without words is copied");
  const std::string shown = ContentCoding::DecodeHeader(text, charset);
  Expect(platform::IsValidUtf8(shown), "shown headers are UTF-8");
  Expect(platform::IsValidUtf8(ContentCoding::DecodeFileName(text, charset)), "so are file names");
  Expect(platform::IsValidUtf8(ContentCoding::DecodeExtendedParameter(text, charset)),
         "and parameters");
  Expect(platform::Utf16ToUtf8(Tessary::DecodeText(text, charset, "koi8-r")) ==
             Tessary::DecodeTextToUtf8(text, charset, "koi8-r"),
         "the ladder is the same for both forms");
  return 0;
}
