#include "mapi/builtin/recipients.h"

#include <algorithm>
#include <optional>

#include "mapi/constants.h"
#include "mapi/results.h"
#include "platform/recycled_vector.h"
#include "platform/text.h"

namespace parvane::mapi::builtin {
namespace {

using platform::Status;
using platform::StatusCode;
using pstfile::PropertyList;

// Published tags of recipient rows beyond those MAPI names.
constexpr ULONG kRecipientDisplayName = PropTag(PT_UNICODE, 0x5FF6);
constexpr ULONG kRecipientEntryId = PropTag(PT_BINARY, 0x5FF7);
constexpr ULONG kRecipientFlags = PropTag(PT_LONG, 0x5FFD);
constexpr ULONG kRecipientSendable = 1;

// What one entry of a call asks for.
struct Change {
  std::optional<ULONG> rowId;
  PropertyList properties;
};

HRESULT ReadChange(const ADRENTRY& entry, Change& change) {
  for (ULONG i = 0; i < entry.cValues; ++i) {
    const SPropValue& value = entry.rgPropVals[i];
    const ULONG type = PropType(value.ulPropTag);
    if (type == PT_ERROR) continue;
    if (type == PT_NULL || type == PT_OBJECT) return MAPI_E_INVALID_PARAMETER;
    if (value.ulPropTag == PR_ROWID) {
      change.rowId = value.Value.ul;
      continue;
    }
    const HRESULT result = StoreValue(value, kDefaultHtmlCodePage, change.properties);
    if (Failed(result)) return result;
  }
  return S_OK;
}

bool Has(const PropertyList& row, ULONG tag) {
  return row.HasId(static_cast<std::uint16_t>(PropId(tag)));
}

void DefaultScalar(PropertyList& row, ULONG tag, std::uint64_t bits) {
  if (!Has(row, tag)) row.SetScalar(ToTag(tag), bits);
}

void DefaultCopy(PropertyList& row, ULONG tag, ULONG from) {
  if (!Has(row, tag)) row.CopyValue(ToTag(tag), ToTag(from));
}

// Adds the columns that a provider adds to what callers give.
void Complete(PropertyList& row) {
  row.Remove(static_cast<std::uint16_t>(PropId(PR_INSTANCE_KEY)));
  DefaultScalar(row, PR_RESPONSIBILITY, 1);
  DefaultScalar(row, PR_OBJECT_TYPE, MAPI_MAILUSER);
  DefaultScalar(row, PR_DISPLAY_TYPE, DT_MAILUSER);
  DefaultScalar(row, PR_SEND_RICH_INFO, 0);
  DefaultScalar(row, kRecipientFlags, kRecipientSendable);
  DefaultCopy(row, kRecipientDisplayName, PR_DISPLAY_NAME_W);
  DefaultCopy(row, kRecipientEntryId, PR_ENTRYID);
  std::u16string scratch[2];
  const auto type = row.ViewText(ToTag(PR_ADDRTYPE_W), scratch[0]);
  const auto address = row.ViewText(ToTag(PR_EMAIL_ADDRESS_W), scratch[1]);
  if (!type || !address) return;
  const bool isSmtp = IsSmtp(*type);
  if (!Has(row, PR_SEARCH_KEY)) {
    row.SetBytes(ToTag(PR_SEARCH_KEY), AddressSearchKey(*type, *address));
  }
  if (isSmtp) DefaultCopy(row, PR_SMTP_ADDRESS_W, PR_EMAIL_ADDRESS_W);
}

}  // namespace

bool IsSmtp(std::u16string_view type) {
  return type == u"SMTP" || platform::EqualsIgnoreCase(type, u"SMTP");
}

platform::RecycledVector<std::byte> AddressSearchKey(std::u16string_view type,
                                                     std::u16string_view address) {
  platform::RecycledVector<std::byte> key;
  key.resize(type.size() + address.size() + 2);
  // In steps that the compiler makes of many characters each.
  const auto putSimple = [](std::u16string_view text, std::byte* to) {
    char16_t all = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
      const char16_t unit = text[i];
      all = static_cast<char16_t>(all | unit);
      const auto isLower = static_cast<char16_t>(unit - u'a') < 26;
      to[i] = static_cast<std::byte>(unit - (isLower ? 0x20 : 0));
    }
    return all < 0x80;
  };
  bool simple = putSimple(type, key.data());
  key[type.size()] = std::byte{':'};
  simple = putSimple(address, key.data() + type.size() + 1) && simple;
  if (simple) return key;
  const std::u16string text = platform::ToUpper(type) + u":" + platform::ToUpper(address);
  const std::string chars = platform::Utf16ToAnsi(text);
  const auto* data = reinterpret_cast<const std::byte*>(chars.c_str());
  key.assign(data, data + chars.size() + 1);
  return key;
}

std::vector<ULONG> RecipientColumns() {
  return {PR_DISPLAY_NAME_W, PR_RECIPIENT_TYPE, PR_ROWID,       PR_ADDRTYPE_W,   PR_EMAIL_ADDRESS_W,
          PR_ENTRYID,        PR_SEARCH_KEY,     PR_OBJECT_TYPE, PR_DISPLAY_TYPE, PR_RESPONSIBILITY,
          PR_SEND_RICH_INFO, PR_SMTP_ADDRESS_W, PR_RECORD_KEY,  PR_INSTANCE_KEY};
}

platform::Result<const PropertyList*> RecipientList::Row(std::size_t index) const {
  if (index < _rows.size()) return &_rows[index].properties;
  pstfile::PstStore* store = _core->store();
  if (store == nullptr) return Status(StatusCode::kClosed, "the file is closed");
  Status status = _packed->rows.Read(store->database(), _packed->positions[index - _rows.size()],
                                     _packed->unpacked);
  if (!status.ok()) return status;
  return &_packed->unpacked;
}

std::size_t RecipientList::IndexOfId(ULONG id) const {
  // Ids grow with the position, so rows stay sorted by them.
  std::size_t low = 0;
  for (std::size_t high = RowCount(); low < high;) {
    const std::size_t middle = low + (high - low) / 2;
    if (RowId(middle) < id) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low < RowCount() && RowId(low) == id ? low : kNone;
}

// A message of a few megabytes may have a million of them.
Status RecipientList::Append(PropertyList properties, bool spill) {
  constexpr std::size_t kFew = 100;
  if (!_packed && _rows.size() < kFew) {
    _rows.push_back({_nextId++, std::move(properties)});
    return {};
  }
  if (!_packed) {
    _packed = std::make_unique<Packed>();
    _packed->firstId = _nextId;
  }
  std::uint64_t position = 0;
  Status status = spill ? _core->store()->KeepRow(_packed->rows, properties, position)
                        : _packed->rows.Add(nullptr, properties, position);
  if (!status.ok()) return status;
  if (_packed->ids) _packed->ids->push_back(_nextId);
  _packed->positions.push_back(position);
  ++_nextId;
  return {};
}

Status RecipientList::Replace(std::size_t index, PropertyList properties) {
  if (index < _rows.size()) {
    _rows[index].properties = std::move(properties);
    return {};
  }
  std::uint64_t& known = _packed->positions[index - _rows.size()];
  std::uint64_t position = 0;
  Status status = _core->store()->KeepRow(_packed->rows, properties, position);
  if (!status.ok()) return status;
  _packed->rows.Release(_core->store()->database(), known);
  known = position;
  return {};
}

void RecipientList::Erase(std::size_t index) {
  if (index < _rows.size()) {
    _rows.erase(_rows.begin() + static_cast<std::ptrdiff_t>(index));
    return;
  }
  const std::size_t place = index - _rows.size();
  _packed->rows.Release(_core->store()->database(), _packed->positions[place]);
  _packed->Erase(place);
}

void RecipientList::Packed::Erase(std::size_t index) {
  if (!ids) {
    ids.emplace();
    for (std::size_t i = 0; i < positions.size(); ++i) {
      ids->push_back(firstId + static_cast<ULONG>(i));
    }
  }
  const auto at = static_cast<std::ptrdiff_t>(index);
  ids->erase(ids->begin() + at);
  positions.erase(positions.begin() + at);
}

void RecipientList::Clear() {
  _rows.clear();
  if (!_packed) return;
  if (_core->store() != nullptr) _packed->rows.Clear(_core->store()->database());
  _packed.reset();
}

HRESULT RecipientList::Modify(ULONG flags, const ADRLIST& mods) {
  if (flags != 0 && flags != MODRECIP_ADD && flags != MODRECIP_MODIFY && flags != MODRECIP_REMOVE) {
    return MAPI_E_INVALID_PARAMETER;
  }
  const bool names = flags == MODRECIP_MODIFY || flags == MODRECIP_REMOVE;
  platform::RecycledVector<Change> changes;
  changes.reserve(mods.cEntries);
  for (ULONG i = 0; i < mods.cEntries; ++i) {
    const ADRENTRY& entry = mods.aEntries[i];
    if (entry.cValues == 0 || entry.rgPropVals == nullptr) continue;
    Change change;
    if (const HRESULT result = ReadChange(entry, change); Failed(result)) return result;
    if (change.rowId.has_value() != names) return MAPI_E_INVALID_PARAMETER;
    if (names && IndexOfId(*change.rowId) == kNone) return MAPI_E_NOT_FOUND;
    if (flags != MODRECIP_REMOVE) {
      DefaultScalar(change.properties, PR_RECIPIENT_TYPE, MAPI_TO);
      Complete(change.properties);
    }
    changes.push_back(std::move(change));
  }

  if (flags == 0) Clear();
  for (Change& change : changes) {
    Status status;
    if (!names) {
      status = Append(std::move(change.properties), true);
    } else if (const std::size_t index = IndexOfId(*change.rowId); index == kNone) {
      continue;  // named twice, and gone already
    } else if (flags == MODRECIP_MODIFY) {
      status = Replace(index, std::move(change.properties));
    } else {
      Erase(index);
    }
    if (!status.ok()) return _core->Note(status);
  }
  return S_OK;
}

Status RecipientList::Load(pstfile::TableReader& table) {
  Clear();
  _nextId = 0;
  for (std::uint64_t i = 0; i < table.rows(); ++i) {
    Status status = table.SelectRow(i);
    PropertyList row;
    if (status.ok()) status = table.ReadRow(row, nullptr, kLargestReturnedValue);
    if (!status.ok()) return status;
    Complete(row);
    // Nothing is written for those who only read.
    if (status = Append(std::move(row), false); !status.ok()) return status;
  }
  return {};
}

}  // namespace parvane::mapi::builtin
