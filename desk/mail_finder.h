// Mail that is on this computer, found by looking where programs keep it and where people put it:
//
//   Thunderbird   its profiles: its own folder, that of a Snap, of a Flatpak, %APPDATA%
//   Apple Mail    ~/Library/Mail, and copies of it
//   others        ~/Maildir, ~/Mail and the like, and the folders in which Evolution, KMail and
//                 Windows Mail keep maildirs, MH folders, letters; /var/mail
//   Downloads,    exports of Gmail (the parts of one are one place) and what was unpacked from
//   Documents,    them, mailboxes, folders of mail, PSTs
//   Desktop
//
// Names are read, and the beginnings of files whose names do not tell. What
// it looks at has bounds: depth, entries, time. No link is followed in what people put anywhere.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "desk/folder_evidence.h"
#include "factory/source_factory.h"
#include "platform/file.h"

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
  std::uint64_t folders = 0;           // with mail in them; 0: it takes reading to know
  bool more = false;                   // there are very many files: both are more than this
  std::vector<FoundAccount> accounts;  // where it has such
};

// Where to look; any may be empty, or not be there.
struct PlacesToLook {
  std::u16string home;
  std::u16string settings;               // %APPDATA%, ~/.config
  std::u16string localData;              // %LOCALAPPDATA%, ~/.local/share
  std::u16string mailboxes;              // one file for each user: /var/mail
  std::vector<std::u16string> personal;  // Downloads, Documents, Desktop
};
PlacesToLook PlacesOfThisUser();

class MailFinder {
 public:
  explicit MailFinder(const PlacesToLook& places);

  // Looks into the next folder, or measures the next place. False: there is no more to do, or the
  // search has met its bounds.
  bool Step();
  // Those found so far, as they stay.
  const std::vector<FoundPlace>& places() const { return _found; }

 private:
  enum class Look {
    kProfiles,  // it is Thunderbird's own
    kProfile,
    kMail,      // it would hold mail and nothing else
    kPersonal,  // it holds anything
  };
  struct Task {
    Look look{};
    std::u16string path;
    std::u16string name;  // of the program; empty: that of the folder
    int levels = 0;       // that are looked at below it
    bool ground = false;  // where people put anything: never a place as a whole
  };

  void Add(Look look, std::u16string path, std::u16string name = {});
  void AddGround(std::u16string path, int levels);
  void AddProgramsIn(const std::u16string& folder, std::u16string_view inner);
  void LookForProfile(const Task& task);
  void LookForMail(const Task& task);
  void LookThrough(const Task& task);
  // True: the folder as a whole is a place, or is known to be none.
  bool IsPlace(const Task& task, const std::vector<platform::DirectoryEntry>& entries);
  void LookAtFiles(const std::u16string& folder,
                   const std::vector<platform::DirectoryEntry>& entries);
  // As a conversion would take it.
  void AddSource(const std::u16string& path, std::u16string name, std::string detail = {});
  void AddFile(PlaceKind kind, const std::u16string& path, std::uint64_t bytes);
  void AddExports(const std::u16string& folder,
                  const std::vector<platform::DirectoryEntry>& entries);
  bool IsNew(const std::u16string& path);

  std::deque<Task> _tasks;
  std::set<std::u16string> _seen;  // canonical
  std::vector<FoundPlace> _found;
  std::size_t _entries = 0;
  std::uint64_t _milliseconds = 0;  // of work
};

// How many messages there are in a place, as a quick look tells, which only reads. Nothing for what
// would have to be unpacked, and when `stop`, asked now and then, said so.
std::optional<std::uint64_t> CountMessages(const FoundPlace& place,
                                           const std::function<bool()>& stop);

}  // namespace parvane::desk
