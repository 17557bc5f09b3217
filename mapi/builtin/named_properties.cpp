// Names of named properties and the ids a store gives them.
#include <cstring>
#include <optional>

#include "mapi/builtin/object.h"
#include "mapi/builtin/properties.h"
#include "mapi/constants.h"

namespace parvane::mapi::builtin {
namespace {

constexpr ULONG kFirstNamedId = 0x8000;
constexpr ULONG kLastNamedId = 0xFFFE;

pstfile::Guid ToStoredGuid(const GUID& guid) {
  pstfile::Guid stored;
  std::memcpy(stored.data(), &guid, sizeof guid);
  return stored;
}

std::optional<pstfile::PropertyName> ToName(const MAPINAMEID* name) {
  if (name == nullptr || name->lpguid == nullptr) return std::nullopt;
  const pstfile::Guid set = ToStoredGuid(*name->lpguid);
  if (name->ulKind == MNID_ID) {
    return pstfile::PropertyName::Number(set, static_cast<std::uint32_t>(name->Kind.lID));
  }
  if (name->ulKind != MNID_STRING || name->Kind.lpwstrName == nullptr) return std::nullopt;
  return pstfile::PropertyName::String(set, name->Kind.lpwstrName);
}

// The tag of a name (type unspecified), or an error tag.
HRESULT TagOfName(StoreCore& core, const MAPINAMEID* argument, bool create, ULONG& tag) {
  tag = PropTag(PT_ERROR, 0);
  const auto name = ToName(argument);
  if (!name) return MAPI_W_ERRORS_RETURNED;
  // Names of this set are the ids themselves, in every store.
  if (name->set == pstfile::kPsMapi && name->kind == pstfile::PropertyName::Kind::kNumber) {
    tag = PropTag(PT_UNSPECIFIED, name->number & 0xFFFF);
    return S_OK;
  }
  // Then it is found or not, as if nobody had asked for it to be made: a store opened for reading
  // must not learn names that it cannot keep.
  if (create && !core.writable()) create = false;
  const auto id = core.store()->PropertyIdOfName(*name, create);
  if (id.ok()) {
    tag = PropTag(PT_UNSPECIFIED, *id);
    return S_OK;
  }
  if (id.status().code() == platform::StatusCode::kNotFound) return MAPI_W_ERRORS_RETURNED;
  return core.Note(id.status());
}

MAPINAMEID* CopyName(const pstfile::PropertyName& name, Chain& chain) {
  auto* copy = chain.AllocateArray<MAPINAMEID>(1);
  copy->lpguid = chain.AllocateArray<GUID>(1);
  std::memcpy(copy->lpguid, name.set.data(), sizeof(GUID));
  if (name.kind == pstfile::PropertyName::Kind::kNumber) {
    copy->ulKind = MNID_ID;
    copy->Kind.lID = static_cast<LONG>(name.number);
  } else {
    copy->ulKind = MNID_STRING;
    copy->Kind.lpwstrName = chain.Copy(name.name);
  }
  return copy;
}

bool IsWanted(const pstfile::PropertyName& name, const GUID* set, ULONG flags) {
  if (set != nullptr && name.set != ToStoredGuid(*set)) return false;
  const bool isNumber = name.kind == pstfile::PropertyName::Kind::kNumber;
  return !((flags & MAPI_NO_IDS) != 0 && isNumber) &&
         !((flags & MAPI_NO_STRINGS) != 0 && !isNumber);
}

// Every named property of the store.
std::vector<ULONG> AllNamedTags(StoreCore& core, const GUID* set, ULONG flags) {
  std::vector<ULONG> tags;
  for (ULONG id = kFirstNamedId; id <= kLastNamedId; ++id) {
    const auto name = core.store()->NameOfPropertyId(static_cast<std::uint16_t>(id));
    if (!name.ok()) break;  // ids are given out in sequence
    if (IsWanted(*name, set, flags)) tags.push_back(PropTag(PT_UNSPECIFIED, id));
  }
  return tags;
}

}  // namespace

HRESULT GetIdsFromNamesOf(PropertyHolder& holder, ULONG count, MAPINAMEID** names, ULONG flags,
                          SPropTagArray** tags) {
  if (!ClearOut(tags)) return MAPI_E_INVALID_PARAMETER;
  if (const HRESULT result = holder.Prepare(); Failed(result)) return result;
  StoreCore* core = holder.NameScope();
  if (core == nullptr) return MAPI_E_NO_SUPPORT;
  const bool create = (flags & MAPI_CREATE) != 0;
  if (names == nullptr || count == 0) {
    if (create || (names == nullptr) != (count == 0)) return MAPI_E_INVALID_PARAMETER;
  }
  std::vector<ULONG> found;
  HRESULT result = S_OK;
  if (count == 0) {
    found = AllNamedTags(*core, nullptr, 0);
  } else {
    for (ULONG i = 0; i < count; ++i) {
      ULONG tag = 0;
      const HRESULT one = TagOfName(*core, names[i], create, tag);
      if (Failed(one)) return one;
      if (one != S_OK) result = one;
      found.push_back(tag);
    }
  }
  Chain chain;
  const auto size = static_cast<ULONG>(found.size());
  auto* array = static_cast<SPropTagArray*>(chain.Allocate(NewSizeSPropTagArray(size)));
  array->cValues = size;
  if (size != 0) std::memcpy(array->aulPropTag, found.data(), size * sizeof(ULONG));
  *tags = chain.Detach<SPropTagArray>();
  return result;
}

HRESULT GetNamesFromIdsOf(PropertyHolder& holder, SPropTagArray** tags, const GUID* set,
                          ULONG flags, ULONG* count, MAPINAMEID*** names) {
  const bool hasCount = ClearOut(count);
  if (!ClearOut(names) || !hasCount || tags == nullptr) return MAPI_E_INVALID_PARAMETER;
  if (const HRESULT result = holder.Prepare(); Failed(result)) return result;
  StoreCore* core = holder.NameScope();
  if (core == nullptr) return MAPI_E_NO_SUPPORT;

  std::vector<ULONG> all;
  Chain tagChain;
  if (*tags == nullptr) {
    all = AllNamedTags(*core, set, flags);
    const auto size = static_cast<ULONG>(all.size());
    auto* array = static_cast<SPropTagArray*>(tagChain.Allocate(NewSizeSPropTagArray(size)));
    array->cValues = size;
    if (size != 0) std::memcpy(array->aulPropTag, all.data(), size * sizeof(ULONG));
  } else {
    all.assign((*tags)->aulPropTag, (*tags)->aulPropTag + (*tags)->cValues);
  }

  HRESULT result = S_OK;
  Chain chain;
  auto** array = chain.AllocateArray<MAPINAMEID*>(all.size());
  for (std::size_t i = 0; i < all.size(); ++i) {
    array[i] = nullptr;
    const ULONG id = PropId(all[i]);
    if (id >= kFirstNamedId && id <= kLastNamedId) {
      const auto name = core->store()->NameOfPropertyId(static_cast<std::uint16_t>(id));
      if (name.ok()) array[i] = CopyName(*name, chain);
    } else if (id != 0) {
      array[i] = CopyName(pstfile::PropertyName::Number(pstfile::kPsMapi, id), chain);
    }
    if (array[i] == nullptr) result = MAPI_W_ERRORS_RETURNED;
  }
  *count = static_cast<ULONG>(all.size());
  *names = chain.Detach<MAPINAMEID*>();
  if (*tags == nullptr) *tags = tagChain.Detach<SPropTagArray>();
  return result;
}

}  // namespace parvane::mapi::builtin
