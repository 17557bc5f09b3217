// Mail that is on this computer, found by looking where programs keep it and where people put it.
//
//   Thunderbird   its profiles: its own folder, that of a Snap, of a Flatpak, %APPDATA%
//   Apple Mail    ~/Library/Mail, copies of it
//   maildirs      ~/Maildir, ~/.maildir, ~/Mail, ...; MH folders and mbox files there too
//   other mail    what Evolution, KMail, Claws Mail and their like keep in one of these forms
//   programs
//   Downloads,    exports of Gmail (the parts of one are one place) and what was unpacked from
//   Documents,    them; mbox files and PSTs
//   Desktop
//
// Only names are read, and the beginnings of files whose names do not tell. No link is followed.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/file.h"
#include "platform/system.h"

namespace parvane::desk {

enum class PlaceKind { kThunderbird, kMaildir, kAppleMail, kTakeout, kMbox, kMh, kEml, kPst };
// "thunderbird", "maildir", "apple", "takeout", "mbox", "mh", "eml", "pst"
std::string_view CodeOf(PlaceKind kind);

struct FoundAccount {
  std::u16string name;
  std::uint64_t folders = 0;
  std::uint64_t bytes = 0;
};

struct FoundPlace {
  PlaceKind kind{};
  // What a conversion takes as its sources; several only for the parts of one export.
  std::vector<std::u16string> paths;
  std::u16string name;  // for people
  std::string detail;   // the same: "last used 2024-05-01", "3 parts"; may be empty
  std::uint64_t bytes = 0;
  std::uint64_t folders = 0;           // mailboxes
  std::vector<FoundAccount> accounts;  // of a profile
  // Files that hold mail, as CountMessages reads them; no more than kMostMailFiles are remembered.
  struct MailFile {
    std::u16string path;
    bool mailbox = false;  // else one message
  };
};

// The folders to look in; any may be missing or empty, and may be the same.
struct PlacesToLook {
  std::u16string home;
  std::u16string roamingData;            // Windows: %APPDATA%
  std::u16string localData;              // Windows: %LOCALAPPDATA%; elsewhere ~/.local/share
  std::u16string configuration;          // elsewhere: ~/.config
  std::vector<std::u16string> personal;  // Documents, Downloads, Desktop
};
PlacesToLook PlacesOfThisUser();

class MailFinder {
 public:
  explicit MailFinder(PlacesToLook places);

  // Looks into the next folder; some milliseconds, whatever is in it. False: there is no more to
  // look at, or the search has met its bounds.
  bool Step();
  // Those found so far; a place once shown stays where it is, with all that is told of it.
  const std::vector<FoundPlace>& places() const { return _found; }
};

// How many messages there are in a place, as a quick look tells: separator lines of mailboxes,
// files of messages. Nothing for what would have to be unpacked, and when `stop` said so.
std::optional<std::uint64_t> CountMessages(const FoundPlace& place,
                                           const std::function<bool()>& stop);

}  // namespace parvane::desk
