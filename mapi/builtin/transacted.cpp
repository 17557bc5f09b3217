#include "mapi/builtin/transacted.h"

#include <algorithm>

#include "mapi/results.h"
#include "platform/code_pages/code_page.h"
#include "platform/text.h"

namespace parvane::mapi::builtin {

using platform::Status;
using platform::StatusCode;
using pstfile::Property;
using pstfile::PropertyReader;
using pstfile::PropTag;

HRESULT FindInFile(StoreCore& core, PropertyReader& reader, ULONG id, Value& value) {
  const auto tag = reader.TagOf(static_cast<std::uint16_t>(id));
  if (!tag) return MAPI_E_NOT_FOUND;
  if (tag->Type() == pstfile::PropType::kObject) {
    value.SetScalar(tag->value, 0);
    return S_OK;
  }
  if (pstfile::IsScalar(tag->Type())) {
    const auto bits = reader.Scalar(*tag);
    if (!bits.ok()) return core.Note(bits.status());
    value.SetScalar(tag->value, *bits);
    return S_OK;
  }
  auto bytes = reader.Bytes(*tag, kLargestReturnedValue);
  if (bytes.ok()) {
    value.SetOwned(tag->value, std::move(bytes).value());
    return S_OK;
  }
  if (bytes.status().code() != StatusCode::kTooBig) return core.Note(bytes.status());
  value.tag = tag->value;
  value.large = true;
  return S_OK;
}

HRESULT OpenInFile(StoreCore& core, PropertyReader& reader, ULONG id, Value& value,
                   std::optional<pstfile::ValueReader>& valueReader) {
  const auto tag = reader.TagOf(static_cast<std::uint16_t>(id));
  if (!tag) return MAPI_E_NOT_FOUND;
  if (pstfile::IsScalar(tag->Type()) || tag->Type() == pstfile::PropType::kObject) {
    return MAPI_E_NO_SUPPORT;
  }
  auto opened = reader.OpenValue(*tag);
  if (!opened.ok()) return core.Note(opened.status());
  value.tag = tag->value;
  valueReader.emplace(std::move(opened).value());
  return S_OK;
}

bool TransactedProperties::IsRemoved(ULONG id) const {
  return std::find(_removed.begin(), _removed.end(), id) != _removed.end();
}

// A stored value about to be replaced goes back to the file.
void TransactedProperties::BeforeSetting(ULONG id) {
  if (!_removed.empty()) std::erase(_removed, static_cast<std::uint16_t>(id));
  if (_storedValues == 0) return;
  const auto old = _set.FindId(static_cast<std::uint16_t>(id));
  if (!old || old->kind != Property::Kind::kStored) return;
  if (_core.store() != nullptr) _core.store()->Abandon(old->stored);
  _set.Remove(static_cast<std::uint16_t>(id));
  --_storedValues;
}

HRESULT TransactedProperties::Set(const SPropValue& value, unsigned htmlCodePage) {
  BeforeSetting(PropId(value.ulPropTag));
  return StoreValue(value, htmlCodePage, _set, this);
}

template <typename Append>
HRESULT TransactedProperties::TakeIntoFile(PropTag tag, Append&& append) {
  if (_core.store() == nullptr) return MAPI_E_END_OF_SESSION;
  using Kind = pstfile::ValueWriter::Kind;
  const bool isText = tag.Type() == pstfile::PropType::kUnicode;
  auto writer = _core.store()->NewValue(isText ? Kind::kText : Kind::kBytes);
  Status status = writer.status();
  if (status.ok()) status = append(*writer);
  if (!status.ok()) return _core.Note(status);
  const auto stored = writer->Finish();
  if (!stored.ok()) return _core.Note(stored.status());
  SetStored(tag.value, *stored);
  return S_OK;
}

HRESULT TransactedProperties::TakeLarge(PropTag tag, std::span<const std::byte> bytes) {
  return TakeIntoFile(tag, [&](pstfile::ValueWriter& writer) { return writer.Append(bytes); });
}

// Piece by piece, since as a whole it would take three times its size.
HRESULT TransactedProperties::TakeLargeAnsi(PropTag tag, std::string_view text) {
  return TakeIntoFile(tag, [&](pstfile::ValueWriter& writer) {
    Status status;
    platform::DecodeInPieces(platform::AnsiCodePage(), text, [&](std::u16string_view piece) {
      if (status.ok()) status = writer.AppendText(piece);
    });
    return status;
  });
}

void TransactedProperties::SetScalar(ULONG tag, std::uint64_t bits) {
  BeforeSetting(PropId(tag));
  _set.SetScalar(ToTag(tag), bits);
}

void TransactedProperties::SetText(ULONG tag, std::u16string_view text) {
  BeforeSetting(PropId(tag));
  _set.SetText(ToTag(tag), text);
}

void TransactedProperties::SetBytes(ULONG tag, std::span<const std::byte> bytes) {
  BeforeSetting(PropId(tag));
  _set.SetBytes(ToTag(tag), bytes);
}

void TransactedProperties::SetStored(ULONG tag, const pstfile::StoredValue& stored) {
  BeforeSetting(PropId(tag));
  _set.SetStored(ToTag(tag), stored);
  ++_storedValues;
}

// What the file has is only marked: the list of what is removed is applied when all is assembled.
HRESULT TransactedProperties::Remove(ULONG id, PropertyReader* base) {
  const auto shortId = static_cast<std::uint16_t>(id);
  const bool wasInFile = base != nullptr && base->TagOf(shortId).has_value() && !IsRemoved(id);
  const bool wasSet = _set.FindId(shortId).has_value();
  if (!wasInFile && !wasSet) return MAPI_E_NOT_FOUND;
  BeforeSetting(id);
  _set.Remove(shortId);
  if (wasInFile) _removed.push_back(shortId);
  return S_OK;
}

HRESULT TransactedProperties::Find(ULONG id, PropertyReader* base, Value& value) {
  if (const auto property = _set.FindId(static_cast<std::uint16_t>(id))) {
    value.large = false;
    switch (property->kind) {
      case Property::Kind::kBytes:
        value.tag = property->tag.value;
        value.bytes = property->bytes;
        return S_OK;
      case Property::Kind::kStored: {
        value.tag = property->tag.value;
        value.large = property->stored.size > kLargestReturnedValue;
        if (value.large) return S_OK;
        auto reader = _core.store()->OpenStoredValue(property->stored);
        if (!reader.ok()) return _core.Note(reader.status());
        std::vector<std::byte> bytes(static_cast<std::size_t>(property->stored.size));
        const auto read = reader->ReadAt(0, bytes);
        if (!read.ok()) return _core.Note(read.status());
        value.SetOwned(property->tag.value, std::move(bytes));
        return S_OK;
      }
      default:
        value.SetScalar(property->tag.value, property->scalar);
        return S_OK;
    }
  }
  if (base == nullptr || IsRemoved(id)) return MAPI_E_NOT_FOUND;
  return FindInFile(_core, *base, id, value);
}

HRESULT TransactedProperties::Open(ULONG id, PropertyReader* base, Value& value,
                                   std::optional<pstfile::ValueReader>& reader) {
  if (const auto property = _set.FindId(static_cast<std::uint16_t>(id))) {
    if (property->kind == Property::Kind::kStored) {
      auto opened = _core.store()->OpenStoredValue(property->stored);
      if (!opened.ok()) return _core.Note(opened.status());
      value.tag = property->tag.value;
      reader.emplace(std::move(opened).value());
      return S_OK;
    }
    if (property->kind != Property::Kind::kBytes) return MAPI_E_NO_SUPPORT;
    value.tag = property->tag.value;
    value.bytes = property->bytes;
    return S_OK;
  }
  if (base == nullptr || IsRemoved(id)) return MAPI_E_NOT_FOUND;
  return OpenInFile(_core, *base, id, value, reader);
}

void TransactedProperties::ListTags(PropertyReader* base, std::vector<ULONG>& tags) const {
  for (std::size_t i = 0; i < _set.size(); ++i) tags.push_back(_set.at(i).tag.value);
  if (base == nullptr) return;
  for (const PropertyReader::Entry& entry : base->entries()) {
    const std::uint16_t id = entry.tag.Id();
    if (!_set.FindId(id) && !IsRemoved(id)) tags.push_back(entry.tag.value);
  }
}

// First the file's, then what is removed from them, then what was set: a property that was removed
// and set again is no longer among the removed (BeforeSetting).
HRESULT TransactedProperties::Assemble(PropertyReader* base, pstfile::PropertyList& list) {
  if (base == nullptr) {
    list = std::move(_set);
    _set.Clear();
    _storedValues = 0;
    return S_OK;
  }
  std::vector<PropTag> large;
  Status status = base->ReadAll(list, &large);
  if (!status.ok()) return _core.Note(status);
  for (const PropTag tag : large) {
    if (_set.FindId(tag.Id()) || IsRemoved(tag.Id())) continue;
    // A value of its own blocks is counted once more instead of copied: the old version keeps its.
    auto shared = _core.store()->ShareValue(*base, tag);
    if (!shared.ok()) {
      _core.store()->Abandon(list);
      list.Clear();
      return _core.Note(shared.status());
    }
    list.SetStored(tag, *shared);
  }
  for (const std::uint16_t id : _removed) list.Remove(id);
  for (std::size_t i = 0; i < list.size();) {
    const Property property = list.at(i);
    if (property.kind == Property::Kind::kObject) {
      list.Remove(property.tag.Id());
    } else {
      ++i;
    }
  }
  for (std::size_t i = 0; i < _set.size(); ++i) {
    const Property property = _set.at(i);
    switch (property.kind) {
      case Property::Kind::kScalar:
        list.SetScalar(property.tag, property.scalar);
        break;
      case Property::Kind::kBytes:
        list.SetBytes(property.tag, property.bytes);
        break;
      case Property::Kind::kStored:
        list.SetStored(property.tag, property.stored);
        break;
      case Property::Kind::kObject:
        break;
    }
  }
  // The stored values are the list's now, and not to be given back.
  _set.Clear();
  _removed.clear();
  _storedValues = 0;
  return S_OK;
}

void TransactedProperties::Forget() {
  if (_storedValues != 0 && _core.store() != nullptr) _core.store()->Abandon(_set);
  _storedValues = 0;
}

}  // namespace parvane::mapi::builtin
