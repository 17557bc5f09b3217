// A number for each of many messages, by their keys: 32 to 48 bytes a message. Keys may come from
// a file that somebody made to be slow: where one lies in the table, nobody can foresee.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/message_facts.h"

namespace parvane::moves {

class KeyTable {
 public:
  KeyTable();

  // The key's number; of a new one it is 0. Valid until the next call.
  std::uint32_t& operator[](const engine::MessageKey& key);
  // Null for a key that is not there.
  std::uint32_t* Find(const engine::MessageKey& key);
  std::size_t size() const { return _size; }

 private:
  struct Slot {
    engine::MessageKey key{};
    std::uint32_t number = 0;
    bool taken = false;
  };

  // Where the key is, or the free slot that it would take.
  Slot& SlotOf(const engine::MessageKey& key);
  void Grow();

  std::array<std::uint64_t, 2> _seed{};  // odd
  std::vector<Slot> _slots;              // a power of two, never full
  std::size_t _size = 0;
};

}  // namespace parvane::moves
