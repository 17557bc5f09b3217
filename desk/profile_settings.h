// What the settings of a Thunderbird profile ("prefs.js") tell about its accounts.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace parvane::desk {

struct MailAccount {
  std::u16string folder;  // canonical where it exists; it need not
  std::u16string name;    // as Thunderbird shows it; empty: the settings give it none
  bool outside = false;   // neither below the profile's Mail/ nor its ImapMail/: somebody moved it
};

// The mail accounts, sorted by their folders. Empty when there are no settings to read.
std::vector<MailAccount> AccountsOf(const std::u16string& profile);

// What its user calls the tags of the profile that a source is, or lies in: names by keys in lower
// case. Empty when there is no profile around it, or nothing in it about tags.
std::map<std::string, std::u16string, std::less<>> TagNamesFor(const std::u16string& source);

}  // namespace parvane::desk
