// The header of a message, for what it tells of the message's state, and what it is known by.
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/expect.h"
#include "sources/message_key.h"
#include "sources/state/gmail_labels.h"
#include "sources/state/keywords.h"
#include "sources/stores/packed/label_places.h"
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
  const engine::MessageKey key = sources::KeyOf(message);
  Expect(sources::KeyOf(std::string(message) + "\r\n") == key, "line ends at the end are nobody's");
  Expect(sources::KeyOf("X-Mozilla-Status: 0001\r\n" + std::string(message)) == key ||
             message.starts_with(' ') || message.starts_with('\t') || message.empty() ||
             message.find_first_not_of("\r\n") == message.npos,
         "what mail programs write into a header changes no key");
  const auto labels = sources::SplitGmailLabels(message);
  sources::GmailLanguageVote vote;
  for (const std::u16string& label : labels) {
    Expect(!label.empty(), "labels have names");
    vote.Add(label, 1);
  }
  for (const engine::LabelUse use : {engine::LabelUse::kFolders, engine::LabelUse::kCopies}) {
    const auto places = sources::PlacesOf(labels, vote.Winners(), use);
    Expect(!places.empty() && places.size() <= labels.size() + 1, "mail goes somewhere");
    for (const sources::LabelPlace& place : places) {
      for (const std::u16string& level : sources::LevelsOf(place.name))
        Expect(!level.empty() && level != u"..", "levels are names");
      sources::CategoriesOf(labels, vote.Winners(), place);
    }
  }
  return 0;
}
