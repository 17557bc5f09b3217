// The index that stands beside a mailbox, as a whole file.
#include <cstdint>
#include <string_view>

#include "fuzz/expect.h"
#include "platform/memory_input_stream.h"
#include "sources/state/thunderbird_index.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace parvane;
  using sources::ThunderbirdIndex;
  const std::string_view file(reinterpret_cast<const char*>(data), size);
  const auto read = [&](std::size_t step) {
    return ThunderbirdIndex::Read(
        [=] { return platform::Result(platform::MemoryInputStream(file, step)); });
  };
  const auto whole = read(0), bytewise = read(1);
  Expect(whole.ok() == bytewise.ok(), "byte by byte it is as readable");
  if (!whole.ok()) return 0;
  Expect(whole->rows().size() == bytewise->rows().size(), "byte by byte it lists as much");
  for (std::size_t i = 0; i < whole->rows().size(); ++i) {
    const ThunderbirdIndex::Row& row = whole->rows()[i];
    Expect(row.flags == bytewise->rows()[i].flags, "and says the same");
    Expect(whole->KeywordsOf(row) == bytewise->KeywordsOf(bytewise->rows()[i]), "in all columns");
    Expect(row.offset == ThunderbirdIndex::kNowhere || whole->At(row.offset) != nullptr,
           "a row is found where it stands");
  }
  return 0;
}
