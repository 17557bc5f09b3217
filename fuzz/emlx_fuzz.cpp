// A whole EMLX file.
#include <cstdint>
#include <string_view>

#include "fuzz/expect.h"
#include "sources/emlx_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view file(reinterpret_cast<const char*>(data), size);
  const auto content = QuelmarMIMEEngineCommon::ParseEMLX(file);
  if (!content.ok()) return 0;
  const std::string_view message(content->message.data(), content->message.size());
  Expect(file.find(message) != file.npos, "the message is a piece of the file");
  Expect(content->missing == 0 || file.ends_with(message), "only what is cut off is missing");
  Expect(content->missing == 0 || content->properties.empty(), "no list behind the cut");
  return 0;
}
