// Properties as MAPI hands them out: a handful in one array, and long ones as streams.
#pragma once

#include <algorithm>
#include <functional>
#include <span>
#include <string_view>

#include "mapi/property_object.h"
#include "mapi/results.h"
#include "mapi/tags.h"

namespace parvane::moves {

// Properties of a message or a row, those that are there.
class Values {
 public:
  Values(const mapi::SPropValue* values, mapi::ULONG count) : _values(values, count) {}

  const mapi::SPropValue* Find(mapi::ULONG tag) const {
    const auto found = std::ranges::find(_values, tag, &mapi::SPropValue::ulPropTag);
    return found == _values.end() ? nullptr : &*found;
  }
  // It is there and cannot be had, or not this way.
  bool Failed(mapi::ULONG tag) const {
    const mapi::SPropValue* error = Find(mapi::PropTag(mapi::PT_ERROR, mapi::PropId(tag)));
    return error && error->Value.err != mapi::MAPI_E_NOT_FOUND;
  }
  std::u16string_view Text(mapi::ULONG tag) const {
    const mapi::SPropValue* value = Find(tag);
    return value && value->Value.lpszW ? std::u16string_view(value->Value.lpszW)
                                       : std::u16string_view();
  }
  mapi::ULONG Number(mapi::ULONG tag) const {
    const mapi::SPropValue* value = Find(tag);
    return value ? value->Value.ul : 0;
  }

 private:
  std::span<const mapi::SPropValue> _values;
};

// Calls `take` with the bytes of a property piece by piece, while it says so. False: not all of
// them could be read. Not there is no failure, nor is having had enough.
bool ReadProperty(mapi::IMAPIProp& object, mapi::ULONG tag,
                  const std::function<bool(std::string_view)>& take);
// The same of a text, in whole characters.
bool ReadText(mapi::IMAPIProp& object, mapi::ULONG tag,
              const std::function<bool(std::u16string_view)>& take);

}  // namespace parvane::moves
