// From when to when messages were delivered.
#pragma once

#include <cstdint>

#include "platform/time.h"

namespace parvane::desk {

struct DateRange {
  platform::FileTime first, last;  // 0: none of them has a date
  std::uint64_t undated = 0;       // messages

  void Add(platform::FileTime delivered);
  void Add(const DateRange& other);
};

}  // namespace parvane::desk
