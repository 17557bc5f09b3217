// The properties by which objects are told apart and related: entry ids, keys, access. They are
// computed, never stored, and the same rules hold for objects and for table rows.
#pragma once

#include "mapi/builtin/store_core.h"
#include "mapi/builtin/values.h"

namespace parvane::mapi::builtin {

struct Identity {
  ULONG objectType = 0;
  pstfile::NodeId node;    // null: not in the file yet, or not reachable by itself
  pstfile::NodeId parent;  // the folder it is in; null when there is none
  bool writable = false;
};

// MAPI_E_NOT_FOUND when this is none of these properties, or the object has no such value.
HRESULT FindIdentity(const StoreCore& core, const Identity& identity, ULONG id, Value& value);
// The tags FindIdentity answers.
void ListIdentity(const Identity& identity, std::vector<ULONG>& tags);
bool IsIdentity(ULONG id);

}  // namespace parvane::mapi::builtin
