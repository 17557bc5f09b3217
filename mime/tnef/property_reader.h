// Reads the lists of MAPI properties in TNEF ([MS-OXTNEF] 2.1.3.4).
//
//   list     := count:4 property*
//   property := type:2 id:2 [name] value                         ids from 8000h on have a name
//   name     := set:16 0:4 number:4 | set:16 1:4 size:4 text     text is UTF-16, filled up to 4
//   value    := one of a fixed width, filled up to 4             of a single, fixed type
//             | count:4 fixed*                                   of several fixed ones
//             | count:4 (size:4 bytes)*, each filled up to 4     of text, bytes and objects
//
// Lists are read forward and never held: a property is views into the bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "mime/tnef/byte_reader.h"

namespace parvane::tnef {

struct PropertyName {
  std::string_view set;  // 16 bytes: a GUID
  bool isText = false;   // else it is the number
  std::uint32_t number = 0;
  std::string_view text;  // UTF-16, little-endian, without its zero
};

struct Property {
  std::uint16_t type = 0;  // as MAPI numbers them
  std::uint16_t id = 0;
  std::optional<PropertyName> name;
  std::string_view value;  // the first, without filling; empty when there is none
  // What of several values PropertyReader has passed over. They are not written anywhere here.
  std::uint32_t count = 1;
  std::string_view all;  // as the list has them, for ValueReader

  std::uint32_t tag() const { return std::uint32_t{id} << 16 | type; }
};

class PropertyReader {
 public:
  // Takes the list off the front of `reader`, which must outlive this.
  explicit PropertyReader(ByteReader& reader);
  // False at the end of the list, and where it cannot be read on.
  bool Next(Property& property);
  // As many as the list says have been read.
  bool whole() const { return _whole && _left == 0; }

 private:
  ByteReader& _reader;
  std::uint32_t _left = 0;
  bool _whole = false;

  bool TakeName(std::optional<PropertyName>& name);
  bool TakeValue(Property& property);
};

// The values of a property of several.
class ValueReader {
 public:
  explicit ValueReader(const Property& property)
      : _rest(property.all), _type(property.type), _left(property.count) {}
  bool Next(std::string_view& value);

 private:
  ByteReader _rest;
  std::uint16_t _type;
  std::uint32_t _left;
};

}  // namespace parvane::tnef
