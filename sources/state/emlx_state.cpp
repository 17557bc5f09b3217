#include "sources/state/emlx_state.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/time.h"
#include "sources/state/fallback_date.h"

namespace parvane::sources {
namespace {

constexpr engine::StateOrigin kOrigin = engine::StateOrigin::kEmlxList;

// As Jamie Zawinski listed them in 2005; every file that was seen agrees. The numbers of
// attachments, fonts and priority, which stand in the bits between, say nothing that the message
// itself does not say better.
constexpr std::uint64_t kRead = 1u << 0;
constexpr std::uint64_t kDeleted = 1u << 1;
constexpr std::uint64_t kAnswered = 1u << 2;
constexpr std::uint64_t kFlagged = 1u << 4;
constexpr std::uint64_t kDraft = 1u << 6;
constexpr std::uint64_t kForwarded = 1u << 8;
constexpr std::uint64_t kJunk = 1u << 24;
constexpr std::uint64_t kNotJunk = 1u << 25;

// A number that does not fit, or is cut off by anything but a fraction, is none.
std::optional<std::uint64_t> NumberOf(const EmlxProperties& properties, const char* key) {
  const auto property = properties.find(key);
  if (property == properties.end()) return std::nullopt;
  const std::string_view text = property->second;
  std::uint64_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = read.ptr == text.data() + text.size() || *read.ptr == '.';
  if (read.ec != std::errc() || !whole) return std::nullopt;
  return number;
}

}  // namespace

void LearnEmlxFlags(const EmlxProperties& properties, engine::MessageState& state) {
  const auto flags = NumberOf(properties, "flags");
  if (!flags) return;
  const auto has = [&](std::uint64_t bits) { return (*flags & bits) != 0; };
  state.read.Learn(has(kRead), kOrigin);
  state.replied.Learn(has(kAnswered), kOrigin);
  state.forwarded.Learn(has(kForwarded), kOrigin);
  state.flagged.Learn(has(kFlagged), kOrigin);
  state.draft.Learn(has(kDraft), kOrigin);
  state.deleted.Learn(has(kDeleted), kOrigin);
  state.junk.Learn(has(kJunk) && !has(kNotJunk), kOrigin);
}

void LearnEmlxDate(const EmlxProperties& properties, engine::MessageState& state) {
  // 1990 of the one epoch is 2021 of the other: nobody had received mail with this program then.
  constexpr std::uint64_t kFirstOfUnix = 631'152'000;
  constexpr std::uint64_t kSecondsTo2001 = 978'307'200;
  constexpr std::uint64_t kLast = 32'503'680'000;  // the year 3000
  auto seconds = NumberOf(properties, "date-received");
  if (!seconds || *seconds == 0 || *seconds > kLast) return;
  if (*seconds < kFirstOfUnix) *seconds += kSecondsTo2001;
  LearnDate(platform::FileTimeFromTicks((*seconds + platform::kUnixEpochInFileTimeSeconds) *
                                        platform::kTicksPerSecond),
            kOrigin, state);
}

}  // namespace parvane::sources
