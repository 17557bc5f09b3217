// The files in which a source keeps its mail, walked without reading them: how many folders and
// bytes there are, and how many messages as a quick look tells.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "factory/source_factory.h"

namespace parvane::desk {

struct MailExtent {
  std::uint64_t folders = 0;  // with mail in them
  std::uint64_t bytes = 0;
  bool more = false;  // than were looked at: there are very many files
};

// Links are not followed. Archives are one folder each.
MailExtent ExtentOf(factory::SourceKind kind, const std::u16string& path);

// Separator lines of mailboxes, files of messages. Nothing for what would have to be unpacked, and
// when `stop`, asked now and then, said so.
std::optional<std::uint64_t> CountMail(factory::SourceKind kind, const std::u16string& path,
                                       const std::function<bool()>& stop);

}  // namespace parvane::desk
