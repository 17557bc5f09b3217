// Whether the PST will fit, judged before it is made.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/status.h"

namespace parvane::cli {

struct SpaceNeeded {
  std::uint64_t mailBytes = 0;             // as the sources hold it
  std::uint64_t thereAlready = 0;          // in the PST that is added to
  bool isPartOfIt = false;                 // what is there is of the same mail
  std::uint64_t sizeLimit = 0;             // of the PST; 0: as far as the format goes
  std::optional<std::uint64_t> freeBytes;  // where it is made, if that is known
};

// Refuses what cannot fit. `warning` tells, where there may be too little, why it may not.
platform::Status CheckSpace(const SpaceNeeded& needed, std::string* warning);

}  // namespace parvane::cli
