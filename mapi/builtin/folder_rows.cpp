#include "mapi/builtin/folder_rows.h"

#include <algorithm>
#include <unordered_set>

#include "mapi/builtin/message_properties.h"
#include "mapi/builtin/transacted.h"
#include "mapi/constants.h"
#include "mapi/results.h"

namespace parvane::mapi::builtin {
namespace {

constexpr std::size_t kMostFolders = 1u << 20;  // a damaged file cannot make a walk endless

HRESULT FindCount(StoreCore& core, pstfile::NodeId node, ULONG id, Value& value) {
  const auto counts = core.store()->CountsOf(node);
  if (!counts.ok()) return core.Note(counts.status());
  if (id == PropId(PR_CONTENT_COUNT)) {
    value.SetScalar(PR_CONTENT_COUNT, counts->messages);
  } else if (id == PropId(PR_CONTENT_UNREAD)) {
    value.SetScalar(PR_CONTENT_UNREAD, counts->unread);
  } else {
    value.SetScalar(PR_SUBFOLDERS, counts->hasSubfolders ? 1 : 0);
  }
  return S_OK;
}

}  // namespace

// ---- Messages -----------------------------------------------------------------------------------

// The table's view of the file ends with the next modification of anything.
HRESULT ContentsRows::Refresh() {
  pstfile::PstStore* store = _core->store();
  if (store == nullptr) return MAPI_E_END_OF_SESSION;
  if (_table && _changes == store->changes()) return S_OK;
  auto table =
      _associated ? store->OpenAssociatedTable(_folder) : store->OpenContentsTable(_folder);
  if (!table.ok()) return _core->Note(table.status());
  _table.emplace(std::move(table).value());
  _changes = store->changes();
  return S_OK;
}

HRESULT ContentsRows::Count(ULONG& count) {
  if (const HRESULT result = Refresh(); Failed(result)) return result;
  count = static_cast<ULONG>(_table->rows());
  return S_OK;
}

std::vector<ULONG> ContentsRows::DefaultColumns() {
  return {PR_ENTRYID,
          PR_INSTANCE_KEY,
          PR_RECORD_KEY,
          PR_PARENT_ENTRYID,
          PR_STORE_ENTRYID,
          PR_STORE_RECORD_KEY,
          PR_MAPPING_SIGNATURE,
          PR_OBJECT_TYPE,
          PR_MESSAGE_CLASS_W,
          PR_SUBJECT_W,
          PR_NORMALIZED_SUBJECT_W,
          PR_SENT_REPRESENTING_NAME_W,
          PR_DISPLAY_TO_W,
          PR_DISPLAY_CC_W,
          PR_CLIENT_SUBMIT_TIME,
          PR_MESSAGE_DELIVERY_TIME,
          PR_LAST_MODIFICATION_TIME,
          PR_IMPORTANCE,
          PR_MESSAGE_FLAGS,
          PR_MESSAGE_SIZE,
          PR_MSG_STATUS,
          PR_HASATTACH};
}

HRESULT ContentsRows::Select(ULONG index) {
  if (const HRESULT result = Refresh(); Failed(result)) return result;
  _message.reset();
  const platform::Status status = _table->SelectRow(index);
  return status.ok() ? S_OK : _core->Note(status);
}

HRESULT ContentsRows::Find(ULONG tag, Value& value) {
  const ULONG id = PropId(tag);
  if (IsIdentity(id)) {
    const Identity identity{MAPI_MESSAGE, pstfile::NodeId(_table->RowId()), _folder,
                            _core->writable()};
    return FindIdentity(*_core, identity, id, value);
  }
  return FindDerived([this](ULONG stored, Value& found) { return FindStored(stored, found); }, id,
                     value);
}

// A column of the file's table has all there is; any other property is the message's to tell.
HRESULT ContentsRows::FindStored(ULONG id, Value& value) {
  if (const auto column = _table->ColumnOf(static_cast<std::uint16_t>(id))) {
    if (!_table->Has(column->tag)) return MAPI_E_NOT_FOUND;
    if (pstfile::IsScalar(column->tag.Type())) {
      const auto bits = _table->Scalar(column->tag);
      if (!bits.ok()) return _core->Note(bits.status());
      value.SetScalar(column->tag.value, *bits);
      return S_OK;
    }
    auto bytes = _table->Bytes(column->tag, kLargestReturnedValue);
    if (bytes.ok()) {
      value.SetOwned(column->tag.value, std::move(bytes).value());
      return S_OK;
    }
    if (bytes.status().code() != platform::StatusCode::kTooBig) return _core->Note(bytes.status());
    value.tag = column->tag.value;
    value.large = true;
    return S_OK;
  }
  if (!_message) {
    auto message = _core->store()->OpenMessage(pstfile::NodeId(_table->RowId()));
    if (!message.ok()) return _core->Note(message.status());
    _message.emplace(std::move(message).value());
  }
  return FindInFile(*_core, _message->properties(), id, value);
}

// ---- Subfolders ---------------------------------------------------------------------------------

HRESULT HierarchyRows::Walk(bool deep) {
  _entries.clear();
  std::unordered_set<pstfile::NodeId> seen{_folder};
  std::vector<Entry> open{{_folder, {}, 0}};
  while (!open.empty()) {
    const Entry at = open.back();
    open.pop_back();
    if (at.node != _folder) _entries.push_back(at);
    if (at.node != _folder && !deep) continue;
    if (at.node != _folder && !_core->store()->IsFolder(at.node)) continue;
    auto children = _core->store()->Subfolders(at.node);
    if (!children.ok()) {
      const HRESULT result = _core->Note(children.status());
      // A folder further down that cannot be read hides no other.
      if (at.node == _folder) return result;
      continue;
    }
    // Pushed in reverse, so that they come out in order.
    for (auto child = children->rbegin(); child != children->rend(); ++child) {
      if (seen.size() >= kMostFolders || !seen.insert(child->node).second) continue;
      const ULONG depth = at.node == _folder ? 0 : at.depth + 1;
      open.push_back({child->node, at.node, depth});
    }
  }
  return S_OK;
}

HRESULT HierarchyRows::Count(ULONG& count) {
  if (_core->store() == nullptr) return MAPI_E_END_OF_SESSION;
  count = static_cast<ULONG>(_entries.size());
  return S_OK;
}

std::vector<ULONG> HierarchyRows::DefaultColumns() {
  return {PR_DISPLAY_NAME_W,    PR_ENTRYID,        PR_INSTANCE_KEY,  PR_OBJECT_TYPE,
          PR_DISPLAY_TYPE,      PR_COMMENT_W,      PR_DEPTH,         PR_STATUS,
          PR_FOLDER_TYPE,       PR_SUBFOLDERS,     PR_CONTENT_COUNT, PR_CONTENT_UNREAD,
          PR_CONTAINER_CLASS_W, PR_PARENT_ENTRYID, PR_RECORD_KEY};
}

HRESULT HierarchyRows::Select(ULONG index) {
  if (_core->store() == nullptr) return MAPI_E_END_OF_SESSION;
  _selected = index;
  _reader.reset();
  return S_OK;
}

HRESULT HierarchyRows::Find(ULONG tag, Value& value) {
  const Entry& entry = _entries[_selected];
  const ULONG id = PropId(tag);
  if (IsIdentity(id)) {
    return FindIdentity(*_core, {MAPI_FOLDER, entry.node, entry.parent, _core->writable()}, id,
                        value);
  }
  if (id == PropId(PR_DEPTH)) {
    value.SetScalar(PR_DEPTH, entry.depth);
    return S_OK;
  }
  if (!_reader) {
    auto reader = _core->store()->OpenFolderProperties(entry.node);
    if (!reader.ok()) return _core->Note(reader.status());
    _reader.emplace(std::move(reader).value());
  }
  return FindOfFolder(*_core, entry.node, &*_reader, id, value);
}

// ---- Folder properties --------------------------------------------------------------------------

std::vector<ULONG> ComputedFolderTags() {
  return {PR_FOLDER_TYPE,
          PR_DISPLAY_TYPE,
          PR_STATUS,
          PR_CONTENT_COUNT,
          PR_CONTENT_UNREAD,
          PR_SUBFOLDERS,
          PR_ASSOC_CONTENT_COUNT,
          PR_CONTAINER_HIERARCHY,
          PR_CONTAINER_CONTENTS,
          PR_FOLDER_ASSOCIATED_CONTENTS};
}

HRESULT FindOfFolder(StoreCore& core, pstfile::NodeId node, pstfile::PropertyReader* reader,
                     ULONG id, Value& value) {
  switch (id) {
    case PropId(PR_FOLDER_TYPE): {
      ULONG type = FOLDER_GENERIC;
      if (node == core.store()->rootFolder()) type = FOLDER_ROOT;
      if (node.Kind() == pstfile::NodeKind::kSearchFolder) type = FOLDER_SEARCH;
      value.SetScalar(PR_FOLDER_TYPE, type);
      return S_OK;
    }
    case PropId(PR_DISPLAY_TYPE):
      value.SetScalar(PR_DISPLAY_TYPE, DT_FOLDER);
      return S_OK;
    case PropId(PR_STATUS):
      value.SetScalar(PR_STATUS, 0);
      return S_OK;
    case PropId(PR_CONTENT_COUNT):
    case PropId(PR_CONTENT_UNREAD):
    case PropId(PR_SUBFOLDERS):
      if (node.Kind() == pstfile::NodeKind::kSearchFolder) break;
      return FindCount(core, node, id, value);
    case PropId(PR_ASSOC_CONTENT_COUNT): {
      if (node.Kind() == pstfile::NodeKind::kSearchFolder) {
        value.SetScalar(PR_ASSOC_CONTENT_COUNT, 0);  // they have no such table
        return S_OK;
      }
      auto table = core.store()->OpenAssociatedTable(node);
      if (!table.ok()) return core.Note(table.status());
      value.SetScalar(PR_ASSOC_CONTENT_COUNT, table->rows());
      return S_OK;
    }
    case PropId(PR_CONTAINER_HIERARCHY):
    case PropId(PR_CONTAINER_CONTENTS):
    case PropId(PR_FOLDER_ASSOCIATED_CONTENTS):
      value.SetScalar(PropTag(PT_OBJECT, id), 0);
      return S_OK;
    default:
      break;
  }
  return reader == nullptr ? MAPI_E_NOT_FOUND : FindInFile(core, *reader, id, value);
}

}  // namespace parvane::mapi::builtin
