// Where the program gets its sources. StoreFactory has those that every application may rely on by
// number; the kinds here are all that are read, by name.
#pragma once

#include <memory>
#include <string_view>

#include "engine/stores.h"
#include "engine/values.h"

namespace parvane::factory {

enum class SourceKind {
  kMbox,         // an mbox file, or a directory of them
  kThunderbird,  // a mail profile's directory
  kAppleMail,    // ~/Library/Mail, an account or a mailbox in it, exported mailboxes
  kMaildir,      // a maildir, or a directory of them
  kMh,           // an MH folder, or a directory of them
  kEml,          // a directory of ".eml" files, or one of them
};

// A store that is not yet opened. Prepares the file for messages nobody could parse, as
// StoreFactory does.
std::unique_ptr<QuelmarMIMEEngineCommon::IAssetStore> CreateSource(
    SourceKind kind, QuelmarMIMEEngineCommon::NullableString diskPath);

// True of a file in which messages are found behind whatever it begins with, by a reader that does
// not mind (engine/mailbox_wishes.h).
bool HasMailAnywhere(std::u16string_view path);

}  // namespace parvane::factory
