#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/expect.h"
#include "platform/memory_input_stream.h"
#include "sources/mbox_reading.h"
#include "sources/message_buffer.h"

namespace {

// One text of all messages, each behind the offset at which it begins.
std::string Read(std::string_view file, std::size_t step) {
  static parvane::sources::MessageBuffer message;
  const auto stream = parvane::platform::MemoryInputStream(file, step);
  std::string all;
  while (!stream->Buffer().empty()) {
    message.clear();
    const std::uint64_t before = stream->Position();
    all += std::to_string(parvane::sources::ScanMboxMessage(*stream, message, nullptr)) + ":";
    all += message.view();
    Expect(stream->Position() > before, "every scan takes something");
    Expect(message.empty() || message.view().back() == '\n', "every line ends");
  }
  Expect(stream->Position() == file.size(), "all is read");
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view file(reinterpret_cast<const char*>(data), size);
  const std::string whole = Read(file, 0);
  Expect(Read(file, 1) == whole, "byte by byte gives the same messages");
  Expect(Read(file, 7) == whole, "so does any other step");
  parvane::sources::SeparatorHasDate(file);
  return 0;
}
