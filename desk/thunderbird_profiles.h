// Where Thunderbird keeps its profiles, and whether it is at work on one.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace parvane::desk {

// The profiles that Thunderbird's own folder above them holds: "~/.thunderbird",
// "%APPDATA%\Thunderbird", the home of a Snap or Flatpak, or another one with its "profiles.ini".
// Sorted.
std::vector<std::u16string> ProfilesIn(const std::u16string& folder);

// One line that names them all, each with the day it was used last and the size of its mail.
std::string ListOfProfiles(const std::vector<std::u16string>& profiles);

// The profile that the path belongs to, when a running Thunderbird has a lock on it.
std::optional<std::u16string> RunningProfileOf(const std::u16string& path);

}  // namespace parvane::desk
