#include "moves/key_table.h"

#include <cstring>
#include <span>
#include <utility>

#include "platform/system.h"

namespace parvane::moves {
namespace {

constexpr std::size_t kFirstSlots = 64;

}  // namespace

KeyTable::KeyTable() : _slots(kFirstSlots) {
  platform::FillRandom(std::as_writable_bytes(std::span(_seed)));
  for (std::uint64_t& seed : _seed) seed |= 1;
}

KeyTable::Slot& KeyTable::SlotOf(const engine::MessageKey& key) {
  std::array<std::uint64_t, 2> halves;
  std::memcpy(halves.data(), key.data(), sizeof halves);
  std::uint64_t mixed = (halves[0] ^ _seed[1]) * _seed[0];
  mixed = ((mixed >> 32 | mixed << 32) ^ halves[1]) * _seed[1];
  std::size_t at = static_cast<std::size_t>(mixed >> 32);
  while (true) {
    Slot& slot = _slots[at & (_slots.size() - 1)];
    if (!slot.taken || slot.key == key) return slot;
    ++at;
  }
}

std::uint32_t* KeyTable::Find(const engine::MessageKey& key) {
  Slot& slot = SlotOf(key);
  return slot.taken ? &slot.number : nullptr;
}

std::uint32_t& KeyTable::operator[](const engine::MessageKey& key) {
  if ((_size + 1) * 4 > _slots.size() * 3) Grow();
  Slot& slot = SlotOf(key);
  if (!slot.taken) {
    slot.key = key;
    slot.taken = true;
    ++_size;
  }
  return slot.number;
}

void KeyTable::Grow() {
  std::vector<Slot> old(_slots.size() * 2);
  std::swap(old, _slots);
  for (const Slot& slot : old) {
    if (slot.taken) SlotOf(slot.key) = slot;
  }
}

}  // namespace parvane::moves
