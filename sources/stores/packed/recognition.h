// Which files are read as packed mail, by their first bytes.
#pragma once

#include <string_view>

#include "platform/status.h"

namespace parvane::sources {

enum class PackedKind {
  kNone,
  kArchive,      // compressed, or an archive
  kGmailExport,  // the same or a mailbox, with Gmail's marks on its first message
};

// Fails for what cannot be opened, and for what cannot be unpacked on this system.
platform::Result<PackedKind> LookAtPacked(std::u16string_view path);

}  // namespace parvane::sources
