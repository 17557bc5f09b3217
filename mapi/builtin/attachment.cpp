#include "mapi/builtin/attachment.h"

#include <algorithm>

#include "mapi/constants.h"

namespace parvane::mapi::builtin {
namespace {

using pstfile::PropertyReader;

constexpr ULONG kDataId = PropId(PR_ATTACH_DATA_BIN);

bool Has(const pstfile::PropertyList& list, ULONG tag) {
  return list.FindId(static_cast<std::uint16_t>(PropId(tag))).has_value();
}

}  // namespace

HRESULT FindOfAttachment(StoreCore& core, PropertyReader& reader,
                         const pstfile::ObjectLocation& location, ULONG number, bool writable,
                         ULONG id, Value& value) {
  if (id == PropId(PR_ATTACH_NUM)) {
    value.SetScalar(PR_ATTACH_NUM, number);
    return S_OK;
  }
  if (IsIdentity(id)) {
    return FindIdentity(core, {MAPI_ATTACH, location.node, {}, writable}, id, value);
  }
  return FindInFile(core, reader, id, value);
}

Attachment::Attachment(StoreCorePtr core, Message& message, ULONG number, bool writable)
    : TransactedObject(std::move(core), writable),
      _message(ComPointer<Message>::Share(&message)),
      _number(number) {}

Attachment* Attachment::Create(StoreCorePtr core, Message& message, ULONG number) {
  auto attachment =
      ComPointer<Attachment>::Attach(new Attachment(std::move(core), message, number, true));
  attachment->_properties.SetScalar(PR_ATTACH_METHOD, NO_ATTACHMENT);
  attachment->_properties.SetScalar(PR_RENDERING_POSITION, 0xFFFFFFFF);
  return attachment.Detach();
}

HRESULT Attachment::Open(StoreCorePtr core, Message& message, const Message::Slot& slot,
                         bool writable, Attachment** out) {
  auto attachment = ComPointer<Attachment>::Attach(
      new Attachment(std::move(core), message, slot.number, writable));
  const HRESULT result = message.ReadAttachment(slot, attachment->_reader, attachment->_location);
  if (Failed(result)) return result;
  attachment->_saved = true;
  *out = attachment.Detach();
  return S_OK;
}

Attachment::~Attachment() {
  if (_embedded && _core->store() != nullptr) _core->store()->Abandon(*_embedded);
}

HRESULT Attachment::OpenReader(PropertyReader*& reader) {
  reader = nullptr;
  if (_core->store() == nullptr) return MAPI_E_END_OF_SESSION;
  if (!_saved) return S_OK;
  if (!_reader) {
    auto opened = PropertyReader::Open(_core->store()->database(), _location);
    if (!opened.ok()) return _core->Note(opened.status());
    _reader.emplace(std::move(opened).value());
  }
  reader = &*_reader;
  return S_OK;
}

// ---- Properties ---------------------------------------------------------------------------------

HRESULT Attachment::ListTags(std::vector<ULONG>& tags) {
  PropertyReader* reader = nullptr;
  if (const HRESULT result = OpenReader(reader); Failed(result)) return result;
  _properties.ListTags(reader, tags);
  std::erase_if(tags, [](ULONG tag) {
    return IsIdentity(PropId(tag)) || PropId(tag) == PropId(PR_ATTACH_NUM);
  });
  ListIdentity({MAPI_ATTACH, _location.node, {}, _writable}, tags);
  tags.push_back(PR_ATTACH_NUM);
  if (_embedded && std::find(tags.begin(), tags.end(), PR_ATTACH_DATA_OBJ) == tags.end()) {
    tags.push_back(PR_ATTACH_DATA_OBJ);
  }
  return S_OK;
}

HRESULT Attachment::Find(ULONG id, Value& value) {
  PropertyReader* reader = nullptr;
  if (const HRESULT result = OpenReader(reader); Failed(result)) return result;
  if (id == PropId(PR_ATTACH_NUM) || IsIdentity(id)) {
    if (id == PropId(PR_ATTACH_NUM)) {
      value.SetScalar(PR_ATTACH_NUM, _number);
      return S_OK;
    }
    return FindIdentity(*_core, {MAPI_ATTACH, _location.node, {}, _writable}, id, value);
  }
  if (id == kDataId && _embedded) {
    value.SetScalar(PR_ATTACH_DATA_OBJ, 0);
    return S_OK;
  }
  return _properties.Find(id, reader, value);
}

bool Attachment::IsComputed(ULONG tag) const {
  const ULONG id = PropId(tag);
  return IsIdentity(id) || id == PropId(PR_ATTACH_NUM) || id == PropId(PR_ATTACH_SIZE);
}

HRESULT Attachment::Remove(ULONG id) {
  if (id != kDataId || !_embedded || _core->store() == nullptr) return TransactedObject::Remove(id);
  _core->store()->Abandon(*_embedded);
  _embedded.reset();
  return S_OK;
}

HRESULT Attachment::OpenValue(ULONG id, Value& value, std::optional<pstfile::ValueReader>& reader) {
  PropertyReader* base = nullptr;
  if (const HRESULT result = OpenReader(base); Failed(result)) return result;
  return _properties.Open(id, base, value, reader);
}

HRESULT Attachment::OpenOther(ULONG tag, const IID& wanted, ULONG options, ULONG flags,
                              IUnknown** out) {
  return wanted == IID_IMessage && tag == PR_ATTACH_DATA_OBJ
             ? OpenEmbedded(flags, &wanted, out)
             : TransactedObject::OpenOther(tag, wanted, options, flags, out);
}

// ---- The message inside -------------------------------------------------------------------------

HRESULT Attachment::LocateEmbedded(pstfile::ObjectLocation& location) {
  if (_embedded) {
    location = {{}, _embedded->data, _embedded->subnodes};
    return S_OK;
  }
  PropertyReader* reader = nullptr;
  if (const HRESULT result = OpenReader(reader); Failed(result)) return result;
  if (reader == nullptr || !reader->Has(ToTag(PR_ATTACH_DATA_OBJ)) ||
      _properties.IsRemoved(kDataId) || _properties.set().FindId(kDataId)) {
    return MAPI_E_NOT_FOUND;
  }
  const auto object = reader->Object(ToTag(PR_ATTACH_DATA_OBJ));
  if (!object.ok()) return _core->Note(object.status());
  auto found = reader->Subnode(object->node);
  if (!found.ok()) return _core->Note(found.status());
  location = *found;
  return S_OK;
}

HRESULT Attachment::OpenEmbedded(ULONG flags, const IID* wanted, IUnknown** out) {
  const bool create = (flags & MAPI_CREATE) != 0;
  const bool modify = create || (flags & MAPI_MODIFY) != 0;
  if (modify && !_writable) return MAPI_E_NO_ACCESS;
  MessagePlace place;
  place.core = _core;
  place.parent = ComPointer<IUnknown>::Share(static_cast<IAttach*>(this));
  place.attachment = this;
  place.depth = _message->depth() + 1;
  place.writable = modify;
  Message* message = nullptr;
  if (create) {
    // Deeper ones could not be opened again.
    if (place.depth > pstfile::kMaxEmbeddingDepth) return MAPI_E_TOO_BIG;
    message = Message::Create(std::move(place));
  } else {
    HRESULT result = LocateEmbedded(place.location);
    if (Succeeded(result)) result = Message::Open(std::move(place), &message);
    if (Failed(result)) return result;
  }
  return HandOut(message, wanted, out);
}

HRESULT Attachment::PutEmbedded(pstfile::StoredMessage message) {
  if (_embedded) _core->store()->Abandon(*_embedded);
  _embedded = std::move(message);
  // One value, two forms: data by value gives way.
  _properties.Remove(kDataId, nullptr);
  return S_OK;
}

// ---- Saving -------------------------------------------------------------------------------------

HRESULT Attachment::WriteOut() {
  pstfile::PstStore& store = *_core->store();
  PropertyReader* base = nullptr;
  if (const HRESULT result = OpenReader(base); Failed(result)) return result;

  // An embedded message that did not change goes along.
  if (!_embedded) {
    pstfile::ObjectLocation location;
    const HRESULT located = LocateEmbedded(location);
    if (Succeeded(located)) {
      auto message =
          pstfile::MessageReader::Open(store.database(), location, _message->depth() + 1);
      if (!message.ok()) return _core->Note(message.status());
      auto copied = CopyMessage(*_core, *message);
      if (!copied.ok()) return _core->Note(copied.status());
      _embedded = std::move(copied).value();
    } else if (located != MAPI_E_NOT_FOUND) {
      return located;
    }
  }

  pstfile::PropertyList list;
  if (const HRESULT result = _properties.Assemble(base, list); Failed(result)) return result;
  const std::uint64_t now = TimeBits(platform::CurrentFileTime());
  if (!Has(list, PR_CREATION_TIME)) list.SetScalar(ToTag(PR_CREATION_TIME), now);
  if (_saved || !Has(list, PR_LAST_MODIFICATION_TIME)) {
    list.SetScalar(ToTag(PR_LAST_MODIFICATION_TIME), now);
  }

  if (!Has(list, PR_ATTACH_FLAGS)) list.SetScalar(ToTag(PR_ATTACH_FLAGS), 0);

  if (_embedded) {
    if (const auto data = list.FindId(kDataId)) {
      if (data->kind == pstfile::Property::Kind::kStored) store.Abandon(data->stored);
      list.Remove(kDataId);
    }
    if (list.Scalar(ToTag(PR_ATTACH_METHOD)) == NO_ATTACHMENT) {
      list.SetScalar(ToTag(PR_ATTACH_METHOD), ATTACH_EMBEDDED_MSG);
    }
  } else if (list.Scalar(ToTag(PR_ATTACH_METHOD)) == ATTACH_EMBEDDED_MSG) {
    // The message inside was never saved, or could not be: readers would look for it.
    list.SetScalar(ToTag(PR_ATTACH_METHOD), NO_ATTACHMENT);
  } else if (list.Scalar(ToTag(PR_ATTACH_METHOD)) == ATTACH_BY_VALUE &&
             !Has(list, PR_ATTACH_DATA_BIN)) {
    list.SetBytes(ToTag(PR_ATTACH_DATA_BIN), {});
  }
  std::optional<pstfile::StoredMessage> embedded = std::move(_embedded);
  _embedded.reset();
  auto written = store.WriteAttachment(std::move(list), std::move(embedded));
  if (!written.ok()) return _core->Note(written.status());
  _location = {written->node, written->data, written->subnodes};
  _reader.reset();
  _saved = true;
  ++_core->record()->attachmentsSaved;
  return _message->PutAttachment(_number, std::move(written).value());
}

}  // namespace parvane::mapi::builtin
