#include "mapi/builtin/message.h"

#include <algorithm>
#include <array>
#include <string>

#include "mapi/builtin/attachment.h"
#include "mapi/builtin/message_properties.h"
#include "mapi/builtin/message_rows.h"
#include "mapi/constants.h"
#include "platform/system.h"

namespace parvane::mapi::builtin {

using pstfile::PropertyReader;

Message::Message(MessagePlace place)
    : TransactedObject(std::move(place.core), place.writable),
      _place(std::move(place)),
      _recipients(*_core) {}

Message* Message::Create(MessagePlace place) {
  auto message = ComPointer<Message>::Attach(new Message(std::move(place)));
  std::array<std::byte, 16> key;
  platform::FillRandom(key);
  message->_properties.ReserveForMessage();
  message->_properties.SetBytes(PR_SEARCH_KEY, key);
  message->_recipientsLoaded = true;
  message->_attachmentsLoaded = true;
  return message.Detach();
}

HRESULT Message::Open(MessagePlace place, Message** out) {
  auto message = ComPointer<Message>::Attach(new Message(std::move(place)));
  message->_inFile = true;
  PropertyReader* reader = nullptr;
  const HRESULT result = message->OpenReader(reader);
  if (Succeeded(result)) *out = message.Detach();
  return result;
}

Message::~Message() { AbandonPending(); }

void Message::AbandonPending() {
  pstfile::PstStore* store = _core->store();
  for (Slot& slot : _attachments) {
    if (slot.isPending && store != nullptr) store->Abandon(slot.stored);
    slot.isPending = false;
  }
}

HRESULT Message::OpenReader(PropertyReader*& reader) {
  reader = nullptr;
  if (_core->store() == nullptr) return MAPI_E_END_OF_SESSION;
  if (!_inFile) return S_OK;
  if (!_reader) {
    pstfile::PstStore& store = *_core->store();
    auto opened =
        IsEmbedded() ? pstfile::MessageReader::Open(store.database(), _place.location, _place.depth)
                     : store.OpenMessage(_place.node);
    if (!opened.ok()) return _core->Note(opened.status());
    _reader.emplace(std::move(opened).value());
  }
  reader = &_reader->properties();
  return S_OK;
}

Identity Message::MakeIdentity() const {
  return {MAPI_MESSAGE, IsEmbedded() ? pstfile::NodeId{} : _place.node, _place.folder, _writable};
}

// ---- Properties ---------------------------------------------------------------------------------

HRESULT Message::ListTags(std::vector<ULONG>& tags) {
  PropertyReader* reader = nullptr;
  if (const HRESULT result = OpenReader(reader); Failed(result)) return result;
  _properties.ListTags(reader, tags);
  std::erase_if(tags, [](ULONG tag) { return IsIdentity(PropId(tag)) || IsDerived(PropId(tag)); });
  ListIdentity(MakeIdentity(), tags);
  tags.push_back(PR_DISPLAY_TO_W);
  tags.push_back(PR_DISPLAY_CC_W);
  tags.push_back(PR_DISPLAY_BCC_W);
  tags.push_back(PR_MESSAGE_RECIPIENTS);
  tags.push_back(PR_MESSAGE_ATTACHMENTS);
  Value value;
  for (const ULONG tag :
       {PR_SUBJECT_PREFIX_W, PR_NORMALIZED_SUBJECT_W, PR_HASATTACH, PR_MESSAGE_FLAGS}) {
    if (std::find(tags.begin(), tags.end(), tag) == tags.end() &&
        Succeeded(Find(PropId(tag), value))) {
      tags.push_back(tag);
    }
  }
  return S_OK;
}

HRESULT Message::Find(ULONG id, Value& value) {
  if (IsIdentity(id)) return FindIdentity(*_core, MakeIdentity(), id, value);
  PropertyReader* reader = nullptr;
  if (const HRESULT result = OpenReader(reader); Failed(result)) return result;
  if (id == PropId(PR_MESSAGE_RECIPIENTS) || id == PropId(PR_MESSAGE_ATTACHMENTS)) {
    value.SetScalar(PropTag(PT_OBJECT, id), 0);
    return S_OK;
  }
  if (_properties.set().FindId(static_cast<std::uint16_t>(id)) || _properties.IsRemoved(id)) {
    return _properties.Find(id, reader, value);
  }
  // A message is a draft until it is saved with flags that say otherwise.
  if (IsNew() && id == PropId(PR_MESSAGE_FLAGS)) {
    value.SetScalar(PR_MESSAGE_FLAGS, MSGFLAG_UNSENT | MSGFLAG_UNMODIFIED);
    return S_OK;
  }
  return FindDerived(
      [&](ULONG stored, Value& found) {
        return reader == nullptr ? MAPI_E_NOT_FOUND : FindInFile(*_core, *reader, stored, found);
      },
      id, value);
}

bool Message::IsComputed(ULONG tag) const { return IsComputedOfMessage(PropId(tag), _inFile); }

HRESULT Message::OpenValue(ULONG id, Value& value, std::optional<pstfile::ValueReader>& reader) {
  PropertyReader* base = nullptr;
  if (const HRESULT result = OpenReader(base); Failed(result)) return result;
  if (id != PropId(PR_SUBJECT_W) && !IsDerived(id) && !IsIdentity(id)) {
    return _properties.Open(id, base, value, reader);
  }
  const HRESULT result = Find(id, value);
  return Succeeded(result) && value.large ? _properties.Open(id, base, value, reader) : result;
}

HRESULT Message::OpenOther(ULONG tag, const IID& wanted, ULONG options, ULONG flags,
                           IUnknown** out) {
  auto** table = reinterpret_cast<IMAPITable**>(out);
  if (wanted == IID_IMAPITable) {
    if (tag == PR_MESSAGE_RECIPIENTS) return GetRecipientTable(options, table);
    if (tag == PR_MESSAGE_ATTACHMENTS) return GetAttachmentTable(options, table);
  }
  return TransactedObject::OpenOther(tag, wanted, options, flags, out);
}

// ---- Recipients ---------------------------------------------------------------------------------

HRESULT Message::LoadRecipients() {
  if (_recipientsLoaded) return S_OK;
  PropertyReader* reader = nullptr;
  if (const HRESULT result = OpenReader(reader); Failed(result)) return result;
  auto table = _reader->Recipients();
  if (!table.ok()) return _core->Note(table.status());
  if (table->has_value()) {
    const platform::Status status = _recipients.Load(**table);
    if (!status.ok()) return _core->Note(status);
  }
  _recipientsLoaded = true;
  return S_OK;
}

HRESULT Message::ModifyRecipients(ULONG ulFlags, ADRLIST* lpMods) {
  return Guarded([&]() -> HRESULT {
    if (const HRESULT result = Prepare(); Failed(result)) return result;
    if (lpMods == nullptr) return MAPI_E_INVALID_PARAMETER;
    if (!_writable) return MAPI_E_NO_ACCESS;
    if (const HRESULT result = LoadRecipients(); Failed(result)) return result;
    const HRESULT result = _recipients.Modify(ulFlags, *lpMods);
    if (Succeeded(result)) _recipientsModified = true;
    return result;
  });
}

HRESULT Message::GetRecipientTable(ULONG ulFlags, IMAPITable** lppTable) {
  return Guarded([&]() -> HRESULT {
    if (!ClearOut(lppTable)) return MAPI_E_INVALID_PARAMETER;
    if (const HRESULT result = Prepare(); Failed(result)) return result;
    if (const HRESULT result = LoadRecipients(); Failed(result)) return result;
    return MakeTable(std::make_unique<RecipientRows>(*this), ulFlags, lppTable);
  });
}

HRESULT Message::SubmitMessage(ULONG) { return MAPI_E_NO_SUPPORT; }

HRESULT Message::SetReadFlag(ULONG ulFlags) {
  return Guarded([&]() -> HRESULT {
    if (const HRESULT result = Prepare(); Failed(result)) return result;
    if (!_writable) return MAPI_E_NO_ACCESS;
    Value value;
    if (const HRESULT result = Find(PropId(PR_MESSAGE_FLAGS), value); Failed(result)) {
      return result;
    }
    std::uint64_t flags = value.scalar | MSGFLAG_READ;
    if ((ulFlags & CLEAR_READ_FLAG) != 0) flags &= ~std::uint64_t{MSGFLAG_READ};
    if (flags == value.scalar) return S_OK;
    // Takes effect at once, but must not publish what the caller has not saved yet.
    if (IsNew() || !IsChanged()) {
      _properties.SetScalar(PR_MESSAGE_FLAGS, flags);
      if (!IsNew()) _failure = WriteOut();
      return _failure;
    }
    _properties.SetScalar(PR_MESSAGE_FLAGS, flags);
    return S_OK;
  });
}

// ---- Attachments --------------------------------------------------------------------------------

HRESULT Message::LoadAttachments() {
  if (_attachmentsLoaded) return S_OK;
  PropertyReader* reader = nullptr;
  if (const HRESULT result = OpenReader(reader); Failed(result)) return result;
  auto nodes = _reader->AttachmentNodes();
  if (!nodes.ok()) return _core->Note(nodes.status());
  for (const pstfile::NodeId node : *nodes) {
    _attachments.push_back({_nextAttachment++, false, {node}});
  }
  _attachmentsLoaded = true;
  return S_OK;
}

// Attachments stand in the order of their numbers, whatever the order of saving.
std::vector<Message::Slot>::iterator Message::PlaceOf(ULONG number) {
  return std::lower_bound(_attachments.begin(), _attachments.end(), number,
                          [](const Slot& slot, ULONG wanted) { return slot.number < wanted; });
}

Message::Slot* Message::SlotOf(ULONG number) {
  const auto found = PlaceOf(number);
  return found == _attachments.end() || found->number != number ? nullptr : &*found;
}

HRESULT Message::ReadAttachment(const Slot& slot, std::optional<PropertyReader>& reader,
                                pstfile::ObjectLocation& location) {
  StoreCore& core = *_core;
  if (core.store() == nullptr) return MAPI_E_END_OF_SESSION;
  if (slot.isPending) {
    location = {slot.stored.node, slot.stored.data, slot.stored.subnodes};
  } else {
    PropertyReader* base = nullptr;
    if (const HRESULT result = OpenReader(base); Failed(result)) return result;
    auto found = _reader->OpenAttachment(slot.stored.node);
    if (!found.ok()) return core.Note(found.status());
    location = found->location();
  }
  auto opened = PropertyReader::Open(core.store()->database(), location);
  if (!opened.ok()) return core.Note(opened.status());
  reader.emplace(std::move(opened).value());
  return S_OK;
}

HRESULT Message::CheckRoomForAttachment() const {
  if (_attachments.size() < pstfile::kMaxAttachments) return S_OK;
  return _core->Note({platform::StatusCode::kTooBig, "a message holds no more than " +
                                                         std::to_string(pstfile::kMaxAttachments) +
                                                         " attachments"});
}

HRESULT Message::PutAttachment(ULONG number, pstfile::StoredAttachment attachment) {
  Slot* slot = SlotOf(number);
  if (slot == nullptr) {
    if (const HRESULT result = CheckRoomForAttachment(); Failed(result)) {
      _core->store()->Abandon(attachment);
      return result;
    }
    // So many that a place twice as large beside the old one would cost more than they do.
    constexpr std::size_t kMany = 16'384;
    const std::size_t size = _attachments.size();
    if (size >= kMany && size == _attachments.capacity())
      _attachments.reserve(pstfile::kMaxAttachments);
    slot = &*_attachments.insert(PlaceOf(number), Slot{number});
  }
  if (slot->isPending) _core->store()->Abandon(slot->stored);
  slot->isPending = true;
  slot->stored = attachment;
  _attachmentsModified = true;
  return S_OK;
}

HRESULT Message::CreateAttach(const IID* lpInterface, ULONG, ULONG* lpulAttachmentNum,
                              IAttach** lppAttach) {
  return Guarded([&]() -> HRESULT {
    const bool hasNumber = ClearOut(lpulAttachmentNum);
    if (!ClearOut(lppAttach) || !hasNumber) return MAPI_E_INVALID_PARAMETER;
    if (const HRESULT result = Prepare(); Failed(result)) return result;
    if (!_writable) return MAPI_E_NO_ACCESS;
    if (const HRESULT result = LoadAttachments(); Failed(result)) return result;
    // Said before anything is written for it.
    if (const HRESULT result = CheckRoomForAttachment(); Failed(result)) return result;
    const ULONG number = _nextAttachment;
    auto* attachment = Attachment::Create(_core, *this, number);
    const HRESULT result = HandOut(attachment, lpInterface, lppAttach);
    if (Failed(result)) return result;
    *lpulAttachmentNum = number;
    ++_nextAttachment;
    return S_OK;
  });
}

HRESULT Message::OpenAttach(ULONG ulAttachmentNum, const IID* lpInterface, ULONG ulFlags,
                            IAttach** lppAttach) {
  return Guarded([&]() -> HRESULT {
    if (!ClearOut(lppAttach)) return MAPI_E_INVALID_PARAMETER;
    if (const HRESULT result = Prepare(); Failed(result)) return result;
    if ((ulFlags & MAPI_MODIFY) != 0 && !_writable) return MAPI_E_NO_ACCESS;
    if (const HRESULT result = LoadAttachments(); Failed(result)) return result;
    const Slot* slot = SlotOf(ulAttachmentNum);
    if (slot == nullptr) return MAPI_E_NOT_FOUND;
    const bool writable = (ulFlags & (MAPI_MODIFY | MAPI_BEST_ACCESS)) != 0 && _writable;
    Attachment* attachment = nullptr;
    const HRESULT result = Attachment::Open(_core, *this, *slot, writable, &attachment);
    return Failed(result) ? result : HandOut(attachment, lpInterface, lppAttach);
  });
}

HRESULT Message::DeleteAttach(ULONG ulAttachmentNum, ULONG_PTR, IMAPIProgress*, ULONG) {
  return Guarded([&]() -> HRESULT {
    if (const HRESULT result = Prepare(); Failed(result)) return result;
    if (!_writable) return MAPI_E_NO_ACCESS;
    if (const HRESULT result = LoadAttachments(); Failed(result)) return result;
    const Slot* slot = SlotOf(ulAttachmentNum);
    if (slot == nullptr) return MAPI_E_NOT_FOUND;
    if (slot->isPending) _core->store()->Abandon(slot->stored);
    _attachments.erase(_attachments.begin() + (slot - _attachments.data()));
    _attachmentsModified = true;
    return S_OK;
  });
}

HRESULT Message::GetAttachmentTable(ULONG ulFlags, IMAPITable** lppTable) {
  return Guarded([&]() -> HRESULT {
    if (!ClearOut(lppTable)) return MAPI_E_INVALID_PARAMETER;
    if (const HRESULT result = Prepare(); Failed(result)) return result;
    if (const HRESULT result = LoadAttachments(); Failed(result)) return result;
    return MakeTable(std::make_unique<AttachmentRows>(*this), ulFlags, lppTable);
  });
}

}  // namespace parvane::mapi::builtin
