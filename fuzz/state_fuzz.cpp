// The header of a message, for what it tells of the message's state.
#include <cstdint>
#include <string_view>

#include "fuzz/expect.h"
#include "sources/state/gmail_labels.h"
#include "sources/state/keywords.h"
#include "tests/support/state_in_header.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace parvane;
  const std::string_view message(reinterpret_cast<const char*>(data), size);
  engine::StateWishes wishes;
  wishes.tagNames = {{"work", u"Work"}};
  const auto state = sources::StateInHeader(message, sources::MailboxWriter::kOther, wishes);
  Expect(!state.categories.value || state.categories.value->size() <= sources::Categories::kMost,
         "categories are bounded");
  Expect(state.read.value.has_value() == (state.read.origin != engine::StateOrigin::kNobody),
         "what is known has an origin");
  for (const std::u16string& label : sources::SplitGmailLabels(message))
    Expect(!label.empty(), "labels have names");
  return 0;
}
