// The name of a message's file: "61900.emlx", or "61900.partial.emlx" where parts of the message
// lie beside it. The number grows with each message that comes.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace parvane::sources {

struct EmlxName {
  // As a number for names that are none, which come last.
  static constexpr std::uint64_t kNoNumber = std::numeric_limits<std::uint64_t>::max();

  explicit EmlxName(std::u16string_view fileName);

  bool isMessage = false;  // false: the name of something else
  std::u16string base;     // "61900"
  bool partial = false;
  std::uint64_t number = kNoNumber;
};

}  // namespace parvane::sources
