// A whole EMLX file, and what its list says.
#include <cstdint>
#include <string_view>

#include "fuzz/expect.h"
#include "sources/emlx_file.h"
#include "sources/state/emlx_state.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view file(reinterpret_cast<const char*>(data), size);
  const auto content = QuelmarMIMEEngineCommon::ParseEMLX(file);
  if (!content.ok()) return 0;
  const std::string_view message(content->message.data(), content->message.size());
  Expect(file.find(message) != file.npos, "the message is a piece of the file");
  Expect(content->missing == 0 || file.ends_with(message), "only what is cut off is missing");
  Expect(content->missing == 0 || content->properties.empty(), "no list behind the cut");
  parvane::engine::MessageState state;
  parvane::sources::LearnEmlxFlags(content->properties, state);
  parvane::sources::LearnEmlxDate(content->properties, state);
  Expect(state.read.value.has_value() == state.junk.value.has_value(), "all flags tell, or none");
  return 0;
}
