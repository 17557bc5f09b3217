// The index that stands beside a mailbox.
#include <cstdint>
#include <string_view>

#include "fuzz/expect.h"
#include "sources/mail_index.h"
#include "tests/support/memory_input_stream.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view index(reinterpret_cast<const char*>(data), size);
  const auto lists = [&](std::size_t step) {
    return parvane::sources::IndexListsMessages(*parvane::platform::MemoryInputStream(index, step));
  };
  Expect(lists(0) == lists(1), "byte by byte gives the same answer");
  return 0;
}
