// Values in blocks of their own: putting them there, reading them back.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/property_list.h"
#include "pstfile/ndb/node_database.h"

namespace parvane::pstfile {

// Writes bytes as a value; loose.
platform::Result<StoredValue> StoreBytes(NodeDatabase& database, std::span<const std::byte> bytes);
// A value that an object may refer to: bytes are written, a stored value is taken as it is, or
// copied when its blocks have as many references as the format can count. Loose if new.
platform::Result<StoredValue> KeepInBlocks(NodeDatabase& database, const Property& property);
// kTooBig above `limit`.
platform::Result<std::vector<std::byte>> ReadStored(const NodeDatabase& database,
                                                    const StoredValue& value, std::uint64_t limit);

}  // namespace parvane::pstfile
