#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/expect.h"
#include "mime/date_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  Tessary::DateValue date;
  Expect(date.SetFromRfc822(text) == date.valid(), "the result tells whether there is a date");
  if (date.valid()) {
    for (const bool local : {false, true}) {
      std::string written;
      Expect(date.GetAsRfc822(local, written), "a date can be written");
      Tessary::DateValue again;
      // Years outside 1900 to 9999 are not what their digits say.
      const bool plain =
          date.UnixSeconds() > -2'208'000'000 && date.UnixSeconds() < 253'402'200'000;
      if (plain) {
        Expect(again.SetFromRfc822(written), "what was written can be read");
        Expect(again.UnixSeconds() == date.UnixSeconds(), "and is the same moment");
      }
    }
    parvane::platform::FileTime time;
    (void)date.GetAsFileTime(false, &time);
    (void)date.GetAsFileTime(true, &time);
  }
  Expect(Tessary::DateParser::ParseIso8601(text, &date) == date.valid(), "ISO 8601 likewise");
  return 0;
}
