// Reading MAPI objects back in tests, through the published interfaces alone.
#pragma once

#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/identifiers.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "platform/text.h"

namespace mapi_reading {

using namespace parvane::mapi;

// A property's bytes through a stream.
inline std::optional<std::string> Stream(IMAPIProp& object, ULONG tag) {
  ComPointer<IStream> stream;
  object.OpenProperty(tag, &IID_IStream, STGM_READ, 0, stream.PutUnknown());
  if (!stream) return std::nullopt;
  std::string bytes;
  char buffer[65536];
  for (ULONG count = 1; count > 0; bytes.append(buffer, count))
    if (Failed(stream->Read(buffer, sizeof buffer, &count))) return std::nullopt;
  return bytes;
}

// A property; null when the object has none of this type.
class Property {
 public:
  Property(IMAPIProp& object, ULONG tag) {
    SizedSPropTagArray<1> tags = {1, {tag}};
    ULONG count = 0;
    object.GetProps(tags.get(), MAPI_UNICODE, &count, _values.Put());
    _found = _values && count == 1 && _values[0].ulPropTag == tag;
  }
  const SPropUnion* get() const { return _found ? &_values[0].Value : nullptr; }

 private:
  MapiBuffer<SPropValue> _values;
  bool _found = false;
};

inline std::string Utf8(const char16_t* text) { return parvane::platform::Utf16ToUtf8(text); }

// Text of any length as UTF-8.
inline std::optional<std::string> Text(IMAPIProp& object, ULONG tag) {
  const Property property(object, tag);
  if (property.get()) return Utf8(property.get()->lpszW);
  const auto bytes = Stream(object, tag);
  if (!bytes) return std::nullopt;
  std::u16string wide(bytes->size() / 2, u'\0');
  std::memcpy(wide.data(), bytes->data(), wide.size() * 2);
  return parvane::platform::Utf16ToUtf8(wide);
}

inline std::optional<LONG> Long(IMAPIProp& object, ULONG tag) {
  const Property property(object, tag);
  return property.get() ? std::optional(property.get()->l) : std::nullopt;
}

inline std::optional<std::string> Bytes(IMAPIProp& object, ULONG tag) {
  const Property property(object, tag);
  if (!property.get()) return Stream(object, tag);
  return std::string(reinterpret_cast<const char*>(property.get()->bin.lpb),
                     property.get()->bin.cb);
}

// Seconds since 1970; 0 ticks are shown as -1.
inline std::optional<std::int64_t> Time(IMAPIProp& object, ULONG tag) {
  const Property property(object, tag);
  if (!property.get()) return std::nullopt;
  const std::uint64_t ticks = parvane::platform::FileTimeTicks(property.get()->ft);
  return ticks == 0 ? -1
                    : static_cast<std::int64_t>(ticks / parvane::platform::kTicksPerSecond) -
                          parvane::platform::kUnixEpochInFileTimeSeconds;
}

// All rows of a table with these columns; columns of text as UTF-8, numbers in decimal, binary as
// it is, missing ones empty.
inline std::vector<std::vector<std::string>> Rows(IMAPITable& table,
                                                  const std::vector<ULONG>& columns) {
  std::vector<ULONG> tags = {static_cast<ULONG>(columns.size())};
  tags.insert(tags.end(), columns.begin(), columns.end());
  table.SetColumns(reinterpret_cast<SPropTagArray*>(tags.data()), 0);
  std::vector<std::vector<std::string>> result;
  while (true) {
    RowSet rows;
    table.QueryRows(50, 0, rows.Put());
    if (rows.size() == 0) return result;
    for (const SRow& row : rows) {
      result.emplace_back();
      for (ULONG i = 0; i < row.cValues; ++i) {
        const SPropValue& value = row.lpProps[i];
        std::string text;
        switch (PropType(value.ulPropTag)) {
          case PT_UNICODE:
            text = Utf8(value.Value.lpszW);
            break;
          case PT_LONG:
            text = std::to_string(value.Value.l);
            break;
          case PT_BINARY:
            text.assign(reinterpret_cast<const char*>(value.Value.bin.lpb), value.Value.bin.cb);
            break;
          default:
            break;
        }
        result.back().push_back(text);
      }
    }
  }
}

// The strings of a one-off entry identifier: display name, address type, address.
inline std::vector<std::string> OneOffStrings(std::string_view entryId) {
  std::vector<std::string> strings;
  // 4 bytes of flags, 16 of provider, 2 of version, 2 of flags; then UTF-16 with terminators.
  if (entryId.size() < 24 ||
      entryId.substr(4, 16) !=
          std::string_view(reinterpret_cast<const char*>(&kOneOffProvider), 16)) {
    return {"no one-off entry id"};
  }
  std::u16string wide((entryId.size() - 24) / 2, u'\0');
  std::memcpy(wide.data(), entryId.data() + 24, wide.size() * 2);
  for (std::size_t at = 0; at < wide.size();) {
    const std::size_t end = std::min(wide.find(u'\0', at), wide.size());
    strings.push_back(
        parvane::platform::Utf16ToUtf8(std::u16string_view(wide).substr(at, end - at)));
    at = end + 1;
  }
  return strings;
}

}  // namespace mapi_reading
