// Dates as people give them, as the spans of time that they mean.
#pragma once

#include <optional>
#include <string_view>

#include "platform/time.h"

namespace parvane::moves {

// From the first moment up to, and without, the other.
struct Period {
  platform::FileTime begin, end;
};

// The parts of ISO 8601: "2019", "2019-05", "2019-05-03", "2019-05-03T08:30" (or a blank in place
// of the T), "...:15", each a span as long as it says, by the clock of this machine; behind a time
// of day "Z" or "+02:00" say whose clock. Nothing when it is none, or no day of the calendar.
std::optional<Period> ReadPeriod(std::string_view text);

}  // namespace parvane::moves
