// Whether the PST will fit, judged before it is made.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/status.h"

namespace parvane::desk {

// What can be done about mail that is too much for one PST.
inline constexpr std::string_view kSplitAdvice =
    "--split SIZE writes several PSTs of at most that size, one after the other";

struct SpaceNeeded {
  std::uint64_t mailBytes = 0;             // as the sources hold it
  std::uint64_t thereAlready = 0;          // in the PST that is added to
  bool isPartOfIt = false;                 // what is there is of the same mail
  std::uint64_t sizeLimit = 0;             // of the PSTs; 0: as far as the format goes
  std::optional<std::uint64_t> freeBytes;  // where it is made, if that is known
};

// Refuses what cannot fit. `warning` tells, where there may be too little, why it may not.
platform::Status CheckSpace(const SpaceNeeded& needed, std::string* warning);

}  // namespace parvane::desk
