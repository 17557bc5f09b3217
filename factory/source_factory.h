// Where the program gets its sources. StoreFactory has those that every application may rely on by
// number; the kinds here are all that are read, by name.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/label_use.h"
#include "engine/stores.h"
#include "engine/values.h"
#include "platform/status.h"

namespace parvane::factory {

enum class SourceKind {
  kMbox,         // an mbox file, or a directory of them
  kThunderbird,  // a mail profile's directory
  kAppleMail,    // ~/Library/Mail, an account or a mailbox in it, exported mailboxes
  kMaildir,      // a maildir, or a directory of them
  kMh,           // an MH folder, or a directory of them
  kEml,          // a directory of ".eml" files
  kArchive,      // a compressed mailbox, or an archive with mailboxes in it
  kTakeout,      // an export of Gmail: archives, the folder they make, or one mailbox
};

// Whether the sources of this process keep messages that nobody could parse, from now on; else
// whoever only looks leaves no trace. They do until this is called.
void KeepErrorDump(bool keeps);

// A store that is not yet opened. Prepares the file for messages nobody could parse, as
// StoreFactory does.
std::unique_ptr<QuelmarMIMEEngineCommon::IAssetStore> CreateSource(
    SourceKind kind, QuelmarMIMEEngineCommon::NullableString diskPath);

// The same for letters (kEml), in one folder, that were given one by one.
std::unique_ptr<QuelmarMIMEEngineCommon::IAssetStore> CreateLetters(
    std::vector<std::u16string> files);

// True of a file in which messages are found behind whatever it begins with, by a reader that does
// not mind (engine/mailbox_wishes.h).
bool HasMailAnywhere(std::u16string_view path);
// A source that is read from front to back (engine/turns.h): kArchive, whose labels are not looked
// at, or kTakeout. Several paths are its parts.
std::unique_ptr<QuelmarMIMEEngineCommon::IAssetStore> CreatePackedSource(
    std::vector<std::u16string> paths, engine::LabelUse labels);
// Whether a file is one of these two by its first bytes; none: neither. Fails for what cannot be
// opened, and for what cannot be unpacked on this system.
platform::Result<std::optional<SourceKind>> PackedSourceAt(std::u16string_view path);

}  // namespace parvane::factory
