#include "mapi/builtin/message_rows.h"

#include "mapi/builtin/attachment.h"
#include "mapi/constants.h"

namespace parvane::mapi::builtin {

HRESULT RecipientRows::Count(ULONG& count) {
  if (_message->Core().store() == nullptr) return MAPI_E_END_OF_SESSION;
  count = static_cast<ULONG>(_message->recipients().RowCount());
  return S_OK;
}

HRESULT RecipientRows::Select(ULONG index) {
  if (index >= _message->recipients().RowCount()) return MAPI_E_NOT_FOUND;
  auto row = _message->recipients().Row(index);
  if (!row.ok()) return _message->Core().Note(row.status());
  _row = **row;
  _rowId = _message->recipients().RowId(index);
  return S_OK;
}

HRESULT RecipientRows::Find(ULONG tag, Value& value) {
  switch (PropId(tag)) {
    case PropId(PR_ROWID):
      value.SetScalar(PR_ROWID, _rowId);
      return S_OK;
    case PropId(PR_INSTANCE_KEY):
      value.SetBytes(PR_INSTANCE_KEY, std::as_bytes(std::span(&_rowId, 1)));
      return S_OK;
    case PropId(PR_RECORD_KEY):
      if (Succeeded(FindInList(_row, PropId(tag), value))) return S_OK;
      if (const HRESULT result = FindInList(_row, PropId(PR_ENTRYID), value); Failed(result)) {
        return result;
      }
      value.tag = PR_RECORD_KEY;  // not kept: it is the identifier once more
      return S_OK;
    default:
      return FindInList(_row, PropId(tag), value);
  }
}

HRESULT AttachmentRows::Count(ULONG& count) {
  if (_message->Core().store() == nullptr) return MAPI_E_END_OF_SESSION;
  count = static_cast<ULONG>(_message->attachments().size());
  return S_OK;
}

std::vector<ULONG> AttachmentRows::DefaultColumns() {
  return {PR_ATTACH_NUM,
          PR_INSTANCE_KEY,
          PR_RECORD_KEY,
          PR_RENDERING_POSITION,
          PR_ATTACH_METHOD,
          PR_ATTACH_SIZE,
          PR_ATTACH_LONG_FILENAME_W,
          PR_ATTACH_FILENAME_W,
          PR_DISPLAY_NAME_W,
          PR_ATTACH_EXTENSION_W,
          PR_ATTACH_MIME_TAG_W,
          PR_ATTACH_CONTENT_ID_W,
          PR_ATTACH_CONTENT_LOCATION_W,
          PR_ATTACH_FLAGS,
          PR_ATTACHMENT_HIDDEN,
          PR_OBJECT_TYPE};
}

HRESULT AttachmentRows::Select(ULONG index) {
  if (index >= _message->attachments().size()) return MAPI_E_NOT_FOUND;
  const Message::Slot& slot = _message->attachments()[index];
  _number = slot.number;
  return _message->ReadAttachment(slot, _reader, _location);
}

HRESULT AttachmentRows::Find(ULONG tag, Value& value) {
  return FindOfAttachment(_message->Core(), *_reader, _location, _number, false, PropId(tag),
                          value);
}

}  // namespace parvane::mapi::builtin
