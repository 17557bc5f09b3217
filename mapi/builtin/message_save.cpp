// How a message gets into the file.
#include "mapi/builtin/attachment.h"
#include "mapi/builtin/message.h"
#include "mapi/builtin/message_properties.h"
#include "mapi/constants.h"

namespace parvane::mapi::builtin {

using platform::Status;
using pstfile::PropertyReader;
using pstfile::StoredAttachment;

namespace {

// What a message is written from; what does not get that far is given back to the file.
struct Parts {
  explicit Parts(pstfile::PstStore& s) : store(s) {}
  ~Parts() {
    store.Abandon(list);
    for (const StoredAttachment& attachment : attachments) store.Abandon(attachment);
  }
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;

  pstfile::PstStore& store;
  pstfile::PropertyList list;
  std::vector<StoredAttachment> attachments;
};

}  // namespace

bool EndsWriting(ULONG saveFlags) {
  return saveFlags == 0 ||
         (saveFlags & (KEEP_OPEN_READONLY | KEEP_OPEN_READWRITE)) == KEEP_OPEN_READONLY;
}

// The file has no versions: that somebody else has saved the message since shows in the block of
// its properties, which every save writes anew and none in place.
HRESULT Message::CheckUnchanged(bool force) {
  if (IsNew() || IsEmbedded()) return S_OK;
  auto current = _core->store()->OpenMessage(_place.node);
  if (!current.ok()) {
    return current.status().code() == platform::StatusCode::kNotFound
               ? MAPI_E_OBJECT_DELETED
               : _core->Note(current.status());
  }
  if (!_reader) return S_OK;  // nothing was read: nothing can have changed since
  if (current->location().data == _reader->location().data) return S_OK;
  if (!force) return MAPI_E_OBJECT_CHANGED;
  _reader.emplace(std::move(current).value());
  return S_OK;
}

// In the order of what can still be undone: blocks that nothing refers to yet are given back when a
// later step fails; with InsertMessage or ReplaceMessage, the last of them, the message is the
// folder's. WriteMessage takes what it is handed, whether it succeeds or not.
HRESULT Message::WriteOut() {
  StoreCore& core = *_core;
  pstfile::PstStore& store = *core.store();
  PropertyReader* base = nullptr;
  if (const HRESULT result = OpenReader(base); Failed(result)) return result;
  if (const HRESULT result = LoadRecipients(); Failed(result)) return result;
  if (const HRESULT result = LoadAttachments(); Failed(result)) return result;

  Parts parts(store);
  if (const HRESULT result = TakeAttachments(parts.attachments); Failed(result)) return result;
  SaveContext context;
  context.first = IsNew();
  context.associated = _place.associated;
  context.plainSubject = IsNew() || _properties.set().FindId(PropId(PR_SUBJECT_W)).has_value();
  if (const HRESULT result = _properties.Assemble(base, parts.list); Failed(result)) return result;
  Status status = CompleteMessage(store, parts.list, _recipients, context);
  if (!status.ok()) return core.Note(status);
  auto written =
      store.WriteMessage(std::move(parts.list), _recipients, std::move(parts.attachments));
  if (!written.ok()) return core.Note(written.status());
  _reader.reset();
  if (const HRESULT result = PutInPlace(std::move(written).value()); Failed(result)) return result;
  _inFile = true;
  _recipientsModified = false;
  _attachmentsModified = false;
  return S_OK;
}

// Attachments that did not change go along as they are.
HRESULT Message::TakeAttachments(std::vector<StoredAttachment>& attachments) {
  attachments.reserve(_attachments.size());
  for (Slot& slot : _attachments) {
    if (slot.isPending) {
      attachments.push_back(slot.stored);
      slot.isPending = false;
      continue;
    }
    auto shared = _core->store()->ShareAttachment(*_reader, slot.stored.node);
    if (!shared.ok()) return _core->Note(shared.status());
    attachments.push_back(std::move(shared).value());
  }
  return S_OK;
}

// Into its attachment, or its folder, or the place of its former version.
HRESULT Message::PutInPlace(pstfile::StoredMessage written) {
  StoreCore& core = *_core;
  if (IsEmbedded()) {
    _place.location = {{}, written.data, written.subnodes};
    return _place.attachment->PutEmbedded(std::move(written));
  }
  Status status;
  if (IsNew()) {
    auto node = core.store()->InsertMessage(_place.folder, std::move(written), _place.associated);
    if (node.ok()) _place.node = *node;
    status = node.status();
    if (status.code() == platform::StatusCode::kTooBig) {
      core.Note(status);
      return MAPI_E_TABLE_TOO_BIG;
    }
  } else {
    status = core.store()->ReplaceMessage(_place.node, std::move(written));
  }
  if (!status.ok()) return core.Note(status);
  core.CountSavedMessage(IsNew());
  return S_OK;
}

platform::Result<pstfile::StoredMessage> CopyMessage(StoreCore& core,
                                                     pstfile::MessageReader& message) {
  pstfile::PstStore& store = *core.store();
  TransactedProperties nothing(core);
  Parts parts(store);
  if (Failed(nothing.Assemble(&message.properties(), parts.list))) {
    return Status(platform::StatusCode::kCorrupt, "an embedded message cannot be read");
  }
  RecipientList recipients(core);
  auto table = message.Recipients();
  Status status = table.status();
  if (status.ok() && table->has_value()) status = recipients.Load(**table);
  if (!status.ok()) return status;
  auto nodes = message.AttachmentNodes();
  if (!nodes.ok()) return nodes.status();
  for (const pstfile::NodeId node : *nodes) {
    auto shared = store.ShareAttachment(message, node);
    if (!shared.ok()) return shared.status();
    parts.attachments.push_back(std::move(shared).value());
  }
  return store.WriteMessage(std::move(parts.list), recipients, std::move(parts.attachments));
}

}  // namespace parvane::mapi::builtin
