// A message with parts that were left out of it: one in three is not there, one is decoded, one is
// encoded.
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "fuzz/expect.h"
#include "mime/mime_message2.h"
#include "platform/memory_input_stream.h"
#include "sources/message_file_reading.h"
#include "sources/stores/apple/left_out_parts.h"

using namespace parvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto lines = std::make_shared<sources::MessageBuffer>();
  const auto file = platform::MemoryInputStream({reinterpret_cast<const char*>(data), size}, 4096);
  sources::ReadMessageFile(*file, *lines);
  const auto message = Tessary::ByteSlice::Share(lines, lines->view());

  bool findAny = false;
  std::set<std::string> numbers;
  std::size_t largest = 0;
  const auto find = [&](const sources::LeftOutPart& part) -> platform::Result<sources::PartBody> {
    Expect(numbers.insert(part.number).second, "each part has a number of its own");
    Expect(part.number.find_first_not_of("0123456789.") == part.number.npos,
           "a number can be part of a path");
    const std::size_t kind = findAny ? numbers.size() % 3 : 0;
    if (kind == 0) return platform::Status(platform::StatusCode::kNotFound, "not there");
    largest += 200;
    return sources::PartBody{platform::MemoryInputStream("--b\n\0 body", 3), 11, kind == 1};
  };
  sources::MessageBuffer asItIs;
  const sources::PutBack none = sources::PutPartsBack(message, find, asItIs);
  Expect(asItIs.view() == lines->view(), "without its parts a message stays as it is");
  Expect(none.restored == 0 && none.missing.size() + none.moreMissing == numbers.size(),
         "every part is missing");

  findAny = true;
  const std::size_t asked = numbers.size();
  numbers.clear();
  sources::MessageBuffer restored;
  const sources::PutBack some = sources::PutPartsBack(message, find, restored);
  Expect(numbers.size() == asked, "the same parts are asked for");
  Expect(some.restored + some.missing.size() + some.moreMissing == asked, "each is there or not");
  Expect(restored.size() <= asItIs.size() + largest, "no more than what was put in is added");
  return 0;
}
