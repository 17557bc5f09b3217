// Slots of virtual methods.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace parvane::mapi {

inline constexpr std::size_t kNotVirtual = static_cast<std::size_t>(-1);

// Slot of a virtual method, from the representation of member pointers that the Itanium C++ ABI
// prescribes: 1 + the byte offset in the virtual table.
template <typename Method>
std::size_t SlotOf(Method method) {
  std::uintptr_t words[2];
  static_assert(sizeof method == sizeof words);
  std::memcpy(words, &method, sizeof words);
  if ((words[0] & 1) == 0) return kNotVirtual;
  return (words[0] - 1) / sizeof(void*);
}

}  // namespace parvane::mapi
