// What the settings of a Thunderbird profile tell about where its mail is.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace parvane::cli {

// The folders of mail accounts that lie neither below the profile's Mail/ nor its ImapMail/, where
// somebody has moved them. Sorted; they need not exist. Empty when there are no settings to read.
std::vector<std::u16string> AccountsElsewhere(const std::u16string& profile);

}  // namespace parvane::cli
