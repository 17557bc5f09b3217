// Time zones by name, whatever the system calls them.
#pragma once

#include <string_view>
#include <utility>

#include "platform/time.h"

namespace parvane {

// SetLocalTimeZone for the zones that tests use.
inline bool UseTimeZone(std::string_view name) {
  if (platform::SetLocalTimeZone(name)) return true;
  constexpr std::pair<std::string_view, std::string_view> kNames[] = {
      {"America/New_York", "Eastern Standard Time"},
      {"America/St_Johns", "Newfoundland Standard Time"},
      {"Asia/Kolkata", "India Standard Time"},
      {"Australia/Lord_Howe", "Lord Howe Standard Time"},
      {"Europe/Copenhagen", "Romance Standard Time"},
  };
  for (const auto& [ours, windows] : kNames) {
    if (ours == name) return platform::SetLocalTimeZone(windows);
  }
  return false;
}

}  // namespace parvane
