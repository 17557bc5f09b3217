// Fills a new file with everything Outlook expects in every store.
#pragma once

#include <array>
#include <cstddef>

#include "platform/status.h"
#include "pstfile/ndb/node_database.h"
#include "pstfile/store/pst_store.h"

namespace parvane::pstfile {

// Puts the nodes of an empty store: the message store object, the name map, the root folder with
// its subfolders (visible tree, search root, deleted items, one search folder), the templates of
// all tables, the search and transport nodes.
platform::Status PopulateStore(NodeDatabase& database, const StoreCreateOptions& options,
                               const std::array<std::byte, 16>& recordKey);

std::array<std::byte, 24> MakeEntryId(const std::array<std::byte, 16>& recordKey, NodeId node);

}  // namespace parvane::pstfile
