// A folder as a file chooser shows it: what is in it, and what kind of mail each thing seems to be.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "desk/mail_finder.h"
#include "platform/status.h"
#include "platform/time.h"

namespace parvane::desk {

struct ChooserEntry {
  std::u16string name;
  std::u16string path;
  bool folder = false;
  std::uint64_t bytes = 0;  // of a file
  platform::FileTime modified;
  // "mbox", "pst", "archive", "takeout", "eml", "emlx"; of folders "profile", "thunderbird",
  // "maildir", "mh", "apple"; empty: it cannot be told from here, which does not mean that there is
  // no mail in it.
  std::string_view mail;
};

struct ChooserListing {
  std::u16string path;
  std::u16string parent;              // empty: there is none above it
  std::vector<ChooserEntry> entries;  // folders first, those with a dot in front last, by name
  bool more = false;                  // than are listed
};

// The folder, or the one that a file lies in; empty: the user's home.
platform::Result<ChooserListing> ListForChooser(std::u16string_view path);

struct ChooserShortcut {
  std::u16string name;
  std::u16string path;
};
// The user's own folders that are there; the drives, where a system has such.
std::vector<ChooserShortcut> ChooserShortcuts(const PlacesToLook& places);

}  // namespace parvane::desk
