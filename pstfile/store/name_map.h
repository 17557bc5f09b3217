// The store's map between names of properties and property ids ([MS-PST] 2.4.7): node 0x61.
//
//   0001  bucket count, 251
//   0002  GUID stream, 16 bytes each
//   0003  entry stream: dwPropertyID (4: the number, or the offset of the string), wGuid (2: bit 0
//         set for strings, then the GUID's number: 0 none, 1 PS_MAPI, 2 PS_PUBLIC_STRINGS, 3 + n
//         the nth of the stream), wPropIdx (2: position in this stream)
//   0004  string stream: byte length (4), UTF-16LE, padded to 4
//   1000 + b  hash bucket b = (h XOR wGuid) mod count: records h (4), wGuid (2), wPropIdx (2); h is
//         the number, or the check sum of the string's bytes
//
// The property id is 0x8000 + wPropIdx. Entries are only ever added: ids are in use everywhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/property_list.h"
#include "pstfile/ndb/node_database.h"
#include "pstfile/store/property_name.h"

namespace parvane::pstfile {

class NameMap {
 public:
  // The map of a new store: a few names that Outlook gives ids in every store. Some readers refuse
  // a file whose map has empty streams.
  static NameMap Initial();
  static platform::Result<NameMap> Load(NodeDatabase& database);

  // See PstStore::PropertyIdOfName.
  platform::Result<std::uint16_t> IdOf(const PropertyName& name) const;
  platform::Result<std::uint16_t> Add(const PropertyName& name);
  platform::Result<PropertyName> NameOf(std::uint16_t id) const;
  bool changed() const { return _changed; }
  // Puts the node.
  platform::Status Write(NodeDatabase& database);

 private:
  NameMap() = default;
  void IndexEntries();
  std::optional<std::uint16_t> GuidNumber(const Guid& set) const;
  std::optional<Guid> GuidOf(std::uint16_t number) const;
  std::optional<std::u16string> StringAt(std::uint32_t offset) const;

  PropertyList _properties;  // everything else in the node stays as it is
  std::uint32_t _buckets = 0;
  std::vector<std::byte> _guids;
  std::vector<std::byte> _entries;
  std::vector<std::byte> _strings;
  std::unordered_map<std::u16string, std::uint16_t> _ids;  // by key of set and folded name
  bool _changed = false;
};

}  // namespace parvane::pstfile
