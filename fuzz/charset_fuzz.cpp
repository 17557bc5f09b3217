// The first two bytes choose the code page, the rest is text in it.
#include <algorithm>
#include <cstdint>
#include <string_view>

#include "fuzz/expect.h"
#include "platform/code_pages/code_page.h"
#include "platform/cpu.h"
#include "platform/text.h"

namespace platform = parvane::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const unsigned page = static_cast<unsigned>(data[0]) << 8 | data[1];
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
  std::u16string text = u"before";
  const std::size_t invalid = platform::DecodeCodePage(page, bytes, text);
  Expect(text.starts_with(u"before"), "decoding appends");
  text.erase(0, 6);
  Expect(invalid <= bytes.size(), "no more invalid sequences than bytes");
  Expect(text.size() <= 3 * bytes.size() + 3, "text grows in proportion");
  std::u16string paired = text;
  Expect(!platform::ReplaceUnpairedSurrogates(paired), "decoded text is valid UTF-16");
  std::string back;
  platform::EncodeCodePage(page, text, back);
  Expect(platform::Utf8ToUtf16(platform::Utf16ToUtf8(text)) == text, "UTF-8 round trip");
  return 0;
}
