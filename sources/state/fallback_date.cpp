#include "sources/state/fallback_date.h"

#include <algorithm>
#include <string>

#include "mime/date_parser.h"
#include "sources/date_repair.h"

namespace parvane::sources {
namespace {

using engine::MessageState;
using engine::StateOrigin;
using Tessary::DateValue;

// A message has passed fewer servers.
constexpr int kMostReceivedFields = 100;

platform::FileTime Read(std::string_view text) {
  platform::FileTime time;
  DateValue date;
  if (date.SetFromRfc822(text)) date.GetAsFileTime(false, &time);
  return time;
}

std::string_view WithoutBlanksBefore(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t\r\n");
  return start == text.npos ? std::string_view() : text.substr(start);
}

}  // namespace

void LearnDate(platform::FileTime time, StateOrigin origin, MessageState& state) {
  // Anywhere in the world the first day of Unix is over.
  constexpr std::uint64_t kFirst =
      (platform::kUnixEpochInFileTimeSeconds + 2 * 86400) * platform::kTicksPerSecond;
  if (platform::FileTimeTicks(time) >= kFirst) state.date.Learn(time, origin);
}

void LearnDateOfHeader(const Tessary::MimeHeader& header, MessageState& state) {
  std::string scratch;
  if (const Tessary::MimeField* field = header.Find("Delivery-Date"))
    LearnDate(Read(field->Value(scratch)), StateOrigin::kDeliveryDate, state);
  int left = kMostReceivedFields;
  header.ForEach("Received", [&](const Tessary::MimeField& field) {
    if (state.date.value || left-- <= 0) return;
    const std::string_view value = field.Value(scratch);
    const std::size_t semicolon = value.rfind(';');
    if (semicolon == value.npos) return;
    LearnDate(Read(WithoutBlanksBefore(value.substr(semicolon + 1))), StateOrigin::kReceived,
              state);
  });
}

void LearnDateOfSeparator(std::string_view line, MessageState& state) {
  // What stands before the date, an address say, is none of its words.
  constexpr std::string_view kFrom = "From ";
  if (!line.starts_with(kFrom)) return;
  line = line.substr(0, line.find_first_of("\r\n"));
  line = WithoutBlanksBefore(line.substr(kFrom.size()));
  line.remove_prefix(std::min(line.find(' '), line.size()));
  std::string fixed;
  DateFound found;
  if (RewriteDate(line, fixed, &found) && found.day)
    LearnDate(Read(fixed), StateOrigin::kSeparator, state);
}

}  // namespace parvane::sources
