// The message store object, and every node that is neither folder nor message.
#pragma once

#include "pstfile/check/context.h"

namespace parvane::pstfile::check {

// The store's properties and the folders they name. Fills in the context's record key.
void CheckStoreObject(Context& context);

// A node that no folder takes care of: templates, receive folders, search bookkeeping, and those
// whose meaning is unknown, of which only the heap is looked at.
void CheckOtherNode(Context& context, const NodeRecord& node);

}  // namespace parvane::pstfile::check
