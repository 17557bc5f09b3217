#include "mapi/builtin/folder.h"

#include <algorithm>

#include "mapi/builtin/folder_rows.h"
#include "mapi/builtin/message.h"
#include "mapi/builtin/transacted.h"
#include "mapi/constants.h"

namespace parvane::mapi::builtin {
namespace {

using platform::Status;
using pstfile::NodeId;

bool Contains(const std::vector<ULONG>& tags, ULONG id) {
  return std::any_of(tags.begin(), tags.end(), [id](ULONG tag) { return PropId(tag) == id; });
}

}  // namespace

Folder::Folder(StoreCorePtr core, IUnknown* parent, NodeId node, bool writable)
    : ImmediateObject(std::move(core), writable),
      _parent(ComPointer<IUnknown>::Share(parent)),
      _node(node) {}

HRESULT Folder::Open(StoreCorePtr core, IUnknown* parent, NodeId node, bool writable,
                     Folder** out) {
  if (core->store() == nullptr) return MAPI_E_END_OF_SESSION;
  auto folder =
      ComPointer<Folder>::Attach(new Folder(core, parent, node, writable && core->writable()));
  auto reader = core->store()->OpenFolderProperties(node);
  if (!reader.ok()) return core->Note(reader.status());
  if (node == core->store()->rootFolder()) {
    folder->_parentNode = node;  // the top is its own parent
  } else if (const auto above = core->store()->ParentOf(node); above.ok()) {
    folder->_parentNode = *above;
  }
  *out = folder.Detach();
  return S_OK;
}

Identity Folder::MakeIdentity() const { return {MAPI_FOLDER, _node, _parentNode, _writable}; }

// ---- Properties ---------------------------------------------------------------------------------

HRESULT Folder::Prepare() {
  pstfile::PstStore* store = _core->store();
  if (store == nullptr) return MAPI_E_END_OF_SESSION;
  auto reader = store->OpenFolderProperties(_node);
  if (reader.status().code() == platform::StatusCode::kNotFound) return MAPI_E_OBJECT_DELETED;
  return Begin(std::move(reader));
}

HRESULT Folder::ListTags(std::vector<ULONG>& tags) {
  tags = ComputedFolderTags();
  const std::vector<ULONG> computed = tags;
  for (const auto& entry : _reader->entries()) {
    if (!Contains(computed, entry.tag.Id()) && !IsIdentity(entry.tag.Id())) {
      tags.push_back(entry.tag.value);
    }
  }
  ListIdentity(MakeIdentity(), tags);
  return S_OK;
}

HRESULT Folder::Find(ULONG id, Value& value) {
  if (IsIdentity(id)) return FindIdentity(*_core, MakeIdentity(), id, value);
  return FindOfFolder(*_core, _node, _reader ? &*_reader : nullptr, id, value);
}

bool Folder::IsComputed(ULONG tag) const {
  return IsIdentity(PropId(tag)) || Contains(ComputedFolderTags(), PropId(tag));
}

HRESULT Folder::Remove(ULONG id) {
  // A folder is found by its name.
  const bool isName = id == PropId(PR_DISPLAY_NAME_W);
  return isName && _reader->TagOf(static_cast<std::uint16_t>(id)) ? MAPI_E_NO_ACCESS
                                                                  : ImmediateObject::Remove(id);
}

HRESULT Folder::OpenOther(ULONG tag, const IID& wanted, ULONG options, ULONG flags,
                          IUnknown** out) {
  auto** table = reinterpret_cast<IMAPITable**>(out);
  if (wanted == IID_IMAPITable) {
    if (tag == PR_CONTAINER_CONTENTS) return GetContentsTable(options, table);
    if (tag == PR_CONTAINER_HIERARCHY) return GetHierarchyTable(options, table);
    if (tag == PR_FOLDER_ASSOCIATED_CONTENTS) {
      return GetContentsTable(options | MAPI_ASSOCIATED, table);
    }
  }
  return ImmediateObject::OpenOther(tag, wanted, options, flags, out);
}

// ---- Tables and entries -------------------------------------------------------------------------

HRESULT Folder::GetContentsTable(ULONG ulFlags, IMAPITable** lppTable) {
  return Guarded([&]() -> HRESULT {
    if (!ClearOut(lppTable)) return MAPI_E_INVALID_PARAMETER;
    auto rows =
        std::make_unique<ContentsRows>(_core, Anchor(), _node, (ulFlags & MAPI_ASSOCIATED) != 0);
    ULONG count = 0;
    const HRESULT result = rows->Count(count);
    return Failed(result) ? result : MakeTable(std::move(rows), ulFlags, lppTable);
  });
}

HRESULT Folder::GetHierarchyTable(ULONG ulFlags, IMAPITable** lppTable) {
  return Guarded([&]() -> HRESULT {
    if (!ClearOut(lppTable)) return MAPI_E_INVALID_PARAMETER;
    if (_core->store() == nullptr) return MAPI_E_END_OF_SESSION;
    auto rows = std::make_unique<HierarchyRows>(_core, Anchor(), _node);
    const HRESULT result = rows->Walk((ulFlags & CONVENIENT_DEPTH) != 0);
    return Failed(result) ? result : MakeTable(std::move(rows), ulFlags, lppTable);
  });
}

HRESULT Folder::OpenEntry(ULONG cbEntryID, ENTRYID* lpEntryID, const IID* lpInterface,
                          ULONG ulFlags, ULONG* lpulObjType, IUnknown** lppUnk) {
  return Guarded([&]() -> HRESULT {
    if (_core->store() == nullptr) {
      ClearOut(lppUnk);
      return MAPI_E_END_OF_SESSION;
    }
    return OpenStoreEntry(_core, Anchor(), _core->store()->rootFolder(), cbEntryID, lpEntryID,
                          lpInterface, ulFlags, lpulObjType, lppUnk);
  });
}

HRESULT OpenStoreEntry(StoreCorePtr core, IUnknown* parent, NodeId top, ULONG size,
                       const ENTRYID* entryId, const IID* wanted, ULONG flags, ULONG* objectType,
                       IUnknown** out) {
  if (objectType != nullptr) *objectType = 0;
  if (!ClearOut(out)) return MAPI_E_INVALID_PARAMETER;
  if (core->store() == nullptr) return MAPI_E_END_OF_SESSION;
  if ((flags & MAPI_MODIFY) != 0 && !core->writable()) return MAPI_E_NO_ACCESS;
  const bool writable = core->writable() && (flags & (MAPI_MODIFY | MAPI_BEST_ACCESS)) != 0;

  NodeId node = top;
  if (size != 0 && entryId != nullptr) {
    const std::span<const std::byte> bytes(reinterpret_cast<const std::byte*>(entryId), size);
    if (size != sizeof(pstfile::EntryId)) return MAPI_E_INVALID_ENTRYID;
    const auto found = core->store()->FromEntryId(bytes);
    if (!found) return MAPI_E_UNKNOWN_ENTRYID;
    node = *found;
  }

  using Kind = pstfile::NodeKind;
  if (node.Kind() == Kind::kMessage || node.Kind() == Kind::kAssociatedMessage) {
    MessagePlace place;
    place.core = core;
    place.parent = ComPointer<IUnknown>::Share(parent);
    place.node = node;
    place.associated = node.Kind() == Kind::kAssociatedMessage;
    place.writable = writable;
    if (const auto above = core->store()->ParentOf(node); above.ok()) place.folder = *above;
    Message* message = nullptr;
    HRESULT result = Message::Open(std::move(place), &message);
    if (Succeeded(result)) result = HandOut(message, wanted, out);
    if (Succeeded(result) && objectType != nullptr) *objectType = MAPI_MESSAGE;
    return result;
  }
  if (node.Kind() != Kind::kFolder && node.Kind() != Kind::kSearchFolder) {
    return MAPI_E_INVALID_ENTRYID;
  }
  Folder* folder = nullptr;
  HRESULT result = Folder::Open(core, parent, node, writable, &folder);
  if (Succeeded(result)) result = HandOut(folder, wanted, out);
  if (Succeeded(result) && objectType != nullptr) *objectType = MAPI_FOLDER;
  return result;
}

// ---- Messages and subfolders --------------------------------------------------------------------

HRESULT Folder::CreateMessage(const IID* lpInterface, ULONG ulFlags, IMessage** lppMessage) {
  return Guarded([&]() -> HRESULT {
    if (!ClearOut(lppMessage)) return MAPI_E_INVALID_PARAMETER;
    if (_core->store() == nullptr) return MAPI_E_END_OF_SESSION;
    // After a write failure nothing more is accepted: nobody shall believe that it is kept.
    const Status& status = _core->store()->status();
    if (!status.ok()) return _core->Note(status);
    if (!_writable) return MAPI_E_NO_ACCESS;
    const bool associated = (ulFlags & MAPI_ASSOCIATED) != 0;
    // Better now than when the message has been written: the caller can go on in another folder.
    if (_core->store()->CheckRoom(_node, associated).code() == platform::StatusCode::kTooBig) {
      return MAPI_E_TABLE_TOO_BIG;
    }
    MessagePlace place;
    place.core = _core;
    place.parent = ComPointer<IUnknown>::Share(Anchor());
    place.folder = _node;
    place.associated = associated;
    place.writable = true;
    const HRESULT result = HandOut(Message::Create(std::move(place)), lpInterface, lppMessage);
    if (Succeeded(result)) ++_core->record()->messagesCreated;
    return result;
  });
}

HRESULT Folder::OpenOrCreateFolder(const std::u16string& name, const std::u16string& comment,
                                   bool openExisting, NodeId& node) {
  pstfile::PstStore& store = *_core->store();
  const auto existing = store.FindFolder(_node, name);
  if (existing.ok()) {
    node = *existing;
    return openExisting ? S_OK : MAPI_E_COLLISION;
  }
  if (existing.status().code() != platform::StatusCode::kNotFound) {
    return _core->Note(existing.status());
  }
  if (!_writable) return MAPI_E_NO_ACCESS;
  pstfile::PropertyList properties;
  if (!comment.empty()) properties.SetText(ToTag(PR_COMMENT_W), comment);
  const auto created = store.CreateFolder(_node, name, properties);
  _core->Publish();
  if (!created.ok()) return _core->Note(created.status());
  node = *created;
  return S_OK;
}

HRESULT Folder::CreateFolder(ULONG ulFolderType, LPTSTR lpszFolderName, LPTSTR lpszFolderComment,
                             const IID* lpInterface, ULONG ulFlags, IMAPIFolder** lppFolder) {
  return Guarded([&]() -> HRESULT {
    if (!ClearOut(lppFolder)) return MAPI_E_INVALID_PARAMETER;
    if (_core->store() == nullptr) return MAPI_E_END_OF_SESSION;
    if (ulFolderType == FOLDER_SEARCH) return MAPI_E_NO_SUPPORT;
    const std::u16string name = TextArgument(lpszFolderName, ulFlags);
    if (ulFolderType != FOLDER_GENERIC || name.empty()) return MAPI_E_INVALID_PARAMETER;
    NodeId node;
    HRESULT result = OpenOrCreateFolder(name, TextArgument(lpszFolderComment, ulFlags),
                                        (ulFlags & OPEN_IF_EXISTS) != 0, node);
    if (Failed(result)) return result;
    Folder* folder = nullptr;
    result = Open(_core, Anchor(), node, true, &folder);
    return Failed(result) ? result : HandOut(folder, lpInterface, lppFolder);
  });
}

HRESULT Folder::DeleteMessages(ENTRYLIST* lpMsgList, ULONG_PTR, IMAPIProgress*, ULONG) {
  return Guarded([&]() -> HRESULT {
    if (lpMsgList == nullptr || (lpMsgList->cValues != 0 && lpMsgList->lpbin == nullptr)) {
      return MAPI_E_INVALID_PARAMETER;
    }
    if (_core->store() == nullptr) return MAPI_E_END_OF_SESSION;
    if (!_writable) return MAPI_E_NO_ACCESS;
    HRESULT result = S_OK;
    for (ULONG i = 0; i < lpMsgList->cValues; ++i) {
      const SBinary& entry = lpMsgList->lpbin[i];
      const auto node =
          _core->store()->FromEntryId({reinterpret_cast<const std::byte*>(entry.lpb), entry.cb});
      const auto folder = node ? _core->store()->ParentOf(*node)
                               : platform::Result<NodeId>(Status(platform::StatusCode::kNotFound,
                                                                 "no entry of this store"));
      // Of other folders nothing is deleted: the list came from somewhere else then.
      const bool here =
          node && node->Kind() != pstfile::NodeKind::kFolder && folder.ok() && *folder == _node;
      if (!here) {
        result = MAPI_W_PARTIAL_COMPLETION;
        continue;
      }
      const Status status = _core->store()->DeleteMessage(*node);
      _core->Publish();
      if (!status.ok()) return _core->Note(status);
    }
    return result;
  });
}

HRESULT Folder::SetReadFlags(ENTRYLIST* lpMsgList, ULONG_PTR, IMAPIProgress*, ULONG ulFlags) {
  return Guarded([&]() -> HRESULT {
    if (lpMsgList == nullptr) return MAPI_E_NO_SUPPORT;  // all messages of the folder at once
    HRESULT result = S_OK;
    for (ULONG i = 0; i < lpMsgList->cValues; ++i) {
      const SBinary& entry = lpMsgList->lpbin[i];
      ComPointer<IMessage> message;
      const HRESULT one = OpenEntry(entry.cb, reinterpret_cast<ENTRYID*>(entry.lpb), &IID_IMessage,
                                    MAPI_MODIFY, nullptr, message.PutUnknown());
      if (Failed(one) || Failed(message->SetReadFlag(ulFlags))) result = MAPI_W_PARTIAL_COMPLETION;
    }
    return result;
  });
}

HRESULT Folder::GetMessageStatus(ULONG cbEntryID, ENTRYID* lpEntryID, ULONG,
                                 ULONG* lpulMessageStatus) {
  return Guarded([&]() -> HRESULT {
    if (!ClearOut(lpulMessageStatus) || lpEntryID == nullptr) return MAPI_E_INVALID_PARAMETER;
    ComPointer<IUnknown> object;
    ULONG type = 0;
    const HRESULT result = OpenEntry(cbEntryID, lpEntryID, nullptr, 0, &type, object.Put());
    if (Failed(result)) return result;
    return type == MAPI_MESSAGE ? S_OK : MAPI_E_INVALID_ENTRYID;  // the status is always 0
  });
}

// ---- What this store does not do ----------------------------------------------------------------

HRESULT Folder::SetSearchCriteria(SRestriction*, ENTRYLIST*, ULONG) { return MAPI_E_NO_SUPPORT; }
HRESULT Folder::GetSearchCriteria(ULONG, SRestriction** lppRestriction,
                                  ENTRYLIST** lppContainerList, ULONG* lpulSearchState) {
  ClearOut(lppRestriction);
  ClearOut(lppContainerList);
  ClearOut(lpulSearchState);
  return MAPI_E_NO_SUPPORT;
}
HRESULT Folder::CopyMessages(ENTRYLIST*, const IID*, void*, ULONG_PTR, IMAPIProgress*, ULONG) {
  return MAPI_E_NO_SUPPORT;
}
HRESULT Folder::CopyFolder(ULONG, ENTRYID*, const IID*, void*, LPTSTR, ULONG_PTR, IMAPIProgress*,
                           ULONG) {
  return MAPI_E_NO_SUPPORT;
}
HRESULT Folder::DeleteFolder(ULONG, ENTRYID*, ULONG_PTR, IMAPIProgress*, ULONG) {
  return MAPI_E_NO_SUPPORT;
}
HRESULT Folder::SetMessageStatus(ULONG, ENTRYID*, ULONG, ULONG, ULONG* lpulOldStatus) {
  ClearOut(lpulOldStatus);
  return MAPI_E_NO_SUPPORT;
}
HRESULT Folder::SaveContentsSort(SSortOrderSet*, ULONG) { return MAPI_E_NO_SUPPORT; }
HRESULT Folder::EmptyFolder(ULONG_PTR, IMAPIProgress*, ULONG) { return MAPI_E_NO_SUPPORT; }

}  // namespace parvane::mapi::builtin
