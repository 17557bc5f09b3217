#include "mapi/builtin/identity.h"

#include <algorithm>
#include <iterator>

#include "mapi/constants.h"
#include "mapi/results.h"

namespace parvane::mapi::builtin {
namespace {

constexpr ULONG kIdentityTags[] = {
    PR_PARENT_ENTRYID, PR_ACCESS,           PR_INSTANCE_KEY,  PR_ACCESS_LEVEL, PR_MAPPING_SIGNATURE,
    PR_RECORD_KEY,     PR_STORE_RECORD_KEY, PR_STORE_ENTRYID, PR_OBJECT_TYPE,  PR_ENTRYID};

ULONG AccessOf(const Identity& identity) {
  if (!identity.writable) return MAPI_ACCESS_READ;
  ULONG access = MAPI_ACCESS_READ | MAPI_ACCESS_MODIFY | MAPI_ACCESS_DELETE;
  if (identity.objectType == MAPI_FOLDER) {
    access |=
        MAPI_ACCESS_CREATE_HIERARCHY | MAPI_ACCESS_CREATE_CONTENTS | MAPI_ACCESS_CREATE_ASSOCIATED;
  }
  return access;
}

// Stable for the life of the file: an attachment's key is its node within its message.
std::vector<std::byte> NodeBytes(pstfile::NodeId node) {
  std::vector<std::byte> bytes(4);
  for (int i = 0; i < 4; ++i) bytes[i] = std::byte(node.value >> (8 * i));
  return bytes;
}

}  // namespace

bool IsIdentity(ULONG id) {
  // Asked for every property that is set: the first two say no to nearly all.
  if ((id < 0x0F00 || id > 0x0FFF) && id != PropId(PR_PARENT_ENTRYID)) return false;
  return std::any_of(std::begin(kIdentityTags), std::end(kIdentityTags),
                     [id](ULONG tag) { return PropId(tag) == id; });
}

void ListIdentity(const Identity& identity, std::vector<ULONG>& tags) {
  for (const ULONG tag : kIdentityTags) {
    if (tag == PR_INSTANCE_KEY) continue;  // of table rows only
    if (tag == PR_PARENT_ENTRYID && !identity.parent) continue;
    if ((tag == PR_ENTRYID || tag == PR_RECORD_KEY) && !identity.node) continue;
    if (tag == PR_ENTRYID && identity.objectType == MAPI_ATTACH) continue;
    tags.push_back(tag);
  }
}

HRESULT FindIdentity(const StoreCore& core, const Identity& identity, ULONG id, Value& value) {
  switch (id) {
    case PropId(PR_ENTRYID):
      if (!identity.node || identity.objectType == MAPI_ATTACH) return MAPI_E_NOT_FOUND;
      value.SetOwned(PR_ENTRYID, core.EntryIdOf(identity.node));
      return S_OK;
    case PropId(PR_RECORD_KEY):
      if (!identity.node) return MAPI_E_NOT_FOUND;
      value.SetOwned(PR_RECORD_KEY, identity.objectType == MAPI_ATTACH
                                        ? NodeBytes(identity.node)
                                        : core.EntryIdOf(identity.node));
      return S_OK;
    case PropId(PR_INSTANCE_KEY):
      if (!identity.node) return MAPI_E_NOT_FOUND;
      value.SetOwned(PR_INSTANCE_KEY, NodeBytes(identity.node));
      return S_OK;
    case PropId(PR_PARENT_ENTRYID):
      if (!identity.parent) return MAPI_E_NOT_FOUND;
      value.SetOwned(PR_PARENT_ENTRYID, core.EntryIdOf(identity.parent));
      return S_OK;
    case PropId(PR_STORE_ENTRYID):
      value.SetOwned(PR_STORE_ENTRYID, core.StoreEntryId());
      return S_OK;
    case PropId(PR_STORE_RECORD_KEY):
      value.SetBytes(PR_STORE_RECORD_KEY, core.RecordKey());
      return S_OK;
    case PropId(PR_MAPPING_SIGNATURE):
      value.SetBytes(PR_MAPPING_SIGNATURE, core.RecordKey());
      return S_OK;
    case PropId(PR_OBJECT_TYPE):
      value.SetScalar(PR_OBJECT_TYPE, identity.objectType);
      return S_OK;
    case PropId(PR_ACCESS):
      value.SetScalar(PR_ACCESS, AccessOf(identity));
      return S_OK;
    case PropId(PR_ACCESS_LEVEL):
      value.SetScalar(PR_ACCESS_LEVEL, identity.writable ? MAPI_MODIFY : 0);
      return S_OK;
    default:
      return MAPI_E_NOT_FOUND;
  }
}

}  // namespace parvane::mapi::builtin
