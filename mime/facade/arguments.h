// What operations do with their arguments.
#pragma once

#include <cstddef>
#include <string_view>

#include "mime/facade/cls_byte_data.h"
#include "mime/facade/cls_string.h"
#include "mime/facade/implementation.h"
#include "mime/parse_log.h"
#include "platform/text.h"

namespace Tessary {

inline ClsString& Cleared(TsString& out) {
  out.clear();
  return ImplementationOf(out);
}

inline ClsByteData& Cleared(TsByteData& out) {
  out.clear();
  return ImplementationOf(out);
}

inline std::string_view View(const char* text) {
  return text == nullptr ? std::string_view() : text;
}

// The name of a field as it is given.
inline std::string_view Trim(std::string_view name) {
  while (!name.empty() && parvane::platform::IsAsciiWhiteSpace(name.front())) name.remove_prefix(1);
  while (!name.empty() && parvane::platform::IsAsciiWhiteSpace(name.back())) name.remove_suffix(1);
  return name;
}

// Null, with the reason (which has the index in place of "%d") in the log, for a bad index.
template <typename Items>
auto* At(const Items& items, int index, const char* reason, ParseLog& log) {
  const bool there = index >= 0 && static_cast<std::size_t>(index) < items.size();
  if (!there) log.Say(reason, index);
  return there ? &items[static_cast<std::size_t>(index)] : nullptr;
}

inline constexpr const char* kFieldNameMissing = "Field name is missing";
inline constexpr const char* kNoSuchField = "Header field does not exist";

}  // namespace Tessary
