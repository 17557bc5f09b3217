// What maildirs and MH folders keep marks in: names of files, lists of keywords, sequences.
#include <cstdint>
#include <string>
#include <string_view>

#include "engine/message_layouts.h"
#include "fuzz/expect.h"
#include "platform/path.h"
#include "sources/state/keywords.h"
#include "sources/state/maildir_marks.h"
#include "sources/state/mh_sequences.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace parvane;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::u16string fileName = platform::PathFromNative(text.substr(0, text.find('\n')));
  const sources::MaildirName name = sources::ParseMaildirName(fileName);
  Expect(name.tells || (name.flags == 0 && name.keywords == 0), "letters have a place");

  engine::MessageState state;
  sources::ReadMaildirMarks(name, false, sources::ParseDovecotKeywords(text), {}, state);
  Expect(state.read.value.has_value() == name.tells, "a name with letters tells all of them");
  Expect(!state.categories.value || state.categories.value->size() <= sources::Categories::kMost,
         "categories are bounded");

  const sources::MhSequences sequences = sources::MhSequences::Parse(text);
  for (const std::uint32_t number : {1u, 2u, 1000u, 0xFFFFFFFFu, engine::MhNumber(fileName)}) {
    engine::MessageState known;
    sequences.Read(number, known);
    Expect(known.read.value && known.replied.value && known.flagged.value, "every mark is known");
  }
  return 0;
}
