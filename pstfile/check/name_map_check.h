// The map from names to property ids ([MS-PST] 2.4.7).
#pragma once

#include "pstfile/check/context.h"

namespace parvane::pstfile::check {

// Streams, entries, hash buckets, names mapped twice. Fills in the context's number of names. The
// streams are held in memory, up to 32 MiB: 32,766 names are the most there can be.
void CheckNameMap(Context& context);

}  // namespace parvane::pstfile::check
