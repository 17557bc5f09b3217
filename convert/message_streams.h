// Property values that are written through a stream, because they may be of any length.
#pragma once

#include <string_view>

#include "mapi/com_pointer.h"
#include "mapi/property_object.h"

namespace parvane::convert {

// A property being written piece by piece. Once MAPI has refused something, which is noted, nothing
// more is written.
class PropertyWriter {
 public:
  PropertyWriter(mapi::IMAPIProp& object, mapi::ULONG tag);

  bool Write(std::string_view bytes);
  // Keeps what was written; false when MAPI refused any of it.
  bool Commit();

 private:
  mapi::ComPointer<mapi::IStream> _stream;
  mapi::ULONG _tag;
  bool _written = false;

  // Passes on whether MAPI took it.
  bool Taken(mapi::HRESULT result) const;
};

// Creates the property and writes all bytes; false when MAPI refused any of it.
bool WritePropertyStream(mapi::IMAPIProp& object, mapi::ULONG tag, std::string_view bytes);
// The same with ASCII as UTF-16.
bool WriteAsciiAsUtf16Stream(mapi::IMAPIProp& object, mapi::ULONG tag, std::string_view ascii);

// The same with text in UTF-8 as UTF-16.
bool WriteUtf8AsUtf16Stream(mapi::IMAPIProp& object, mapi::ULONG tag, std::string_view utf8);

}  // namespace parvane::convert
