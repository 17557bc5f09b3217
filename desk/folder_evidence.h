// What the files and folders in a folder say about who keeps mail in it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engine/message_layouts.h"
#include "platform/file.h"
#include "platform/status.h"

namespace parvane::desk {

struct FolderEvidence {
  bool mboxFiles = false;    // "name.mbox"
  bool gmailExport = false;  // one of them is of an export of Gmail
  bool mailFiles = false;    // no extension, begins with a separator line
  bool indexFiles = false;   // "name.msf" of a mailbox
  bool subfolders = false;   // "name" beside the folder "name.sbd"
  bool profileRoot = false;  // "prefs.js" beside "Mail" or "ImapMail"
  bool appleMail = false;    // folders named like mailboxes ("NAME.mbox"), ".emlx" files
  bool maildirs = false;     // a folder "name" with "cur" in it
  // Of the folder itself.
  engine::MessageLayout layout = engine::MessageLayout::kNone;
  // What is not read: other messages in files of their own, what would have to be unpacked, links
  // to where nothing is.
  bool singleMessages = false;
  bool compressed = false;
  bool deadLinks = false;
  bool locked = false;  // folders that may not be listed

  bool Thunderbird() const { return mailFiles || indexFiles || subfolders; }
  bool Any() const {
    return mboxFiles || profileRoot || appleMail || Thunderbird() || singleMessages || compressed ||
           deadLinks || locked || layout != engine::MessageLayout::kNone;
  }
};

// An mbox begins with a separator line; an empty file is an empty mbox.
enum class Beginning { kMail, kEmpty, kOther };
platform::Result<Beginning> LookAtBeginning(std::u16string_view path);

FolderEvidence LookInto(std::u16string_view folder,
                        const std::vector<platform::DirectoryEntry>& entries);

// The nearest folder that says something decides for all: breadth first, each folder once. Letters
// (".eml") are put aside by people too, so they decide only where there is nothing else.
platform::Result<FolderEvidence> SearchFolder(const std::u16string& top);

// Why there is nothing to convert, in words: what was found instead.
std::string NoMailText(const FolderEvidence& found);

}  // namespace parvane::desk
