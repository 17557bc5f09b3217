// One value of a property or cell, wherever it is kept: in place, on the heap, in a subnode.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>

#include "pstfile/check/data_view.h"
#include "pstfile/check/node_heap.h"
#include "pstfile/ltp/property_tag.h"

namespace parvane::pstfile::check {

// Types a stored property can have, some of which the engine itself never writes.
bool IsKnownType(PropType type);
// Numbers kept in the property's record itself.
constexpr bool IsInPlace(PropType type) {
  const std::size_t size = FixedSize(type);
  return size != 0 && size <= 4;
}

inline bool SameBytes(std::span<const std::byte> a, std::span<const std::byte> b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

// The size of a value in which nothing can be wrong: a number in place, or text, binary or a fixed
// number of bytes on the heap. None for what takes a closer look (Value::Of and FaultAs).
std::optional<std::size_t> SizeOfPlainValue(NodeHeap& heap, PropType type, std::uint32_t raw);

class Value {
 public:
  // The value's bytes for a property record (`raw` is dwValueHnid) or for a variable-size cell.
  // A scalar too large for the record must be on the heap. None when it is not where `raw` says;
  // `reason` then tells why.
  static std::optional<Value> Of(NodeHeap& heap, PropType type, std::uint32_t raw,
                                 std::string& reason);
  // A number of up to 8 bytes, as a cell of a row holds it.
  static Value OfScalar(std::span<const std::byte> bytes);

  std::uint64_t size() const { return _size; }
  std::size_t ReadAt(std::uint64_t offset, std::span<std::byte> out);
  // The value as a number, of at most 8 bytes.
  std::uint64_t Number();
  // Everything, up to `limit` bytes.
  std::vector<std::byte> Bytes(std::size_t limit);
  bool Equals(Value& other);
  // Whether this is a proper beginning of `other`.
  bool IsPrefixOf(Value& other);

  // What is wrong with the value as one of its type; empty when nothing is.
  std::string FaultAs(PropType type);

 private:
  // All of it, unless it lies in a tree of its own.
  std::optional<std::span<const std::byte>> InMemory() const;
  bool SameBytes(Value& other, std::uint64_t size);
  std::string FaultAsMultiValue(PropType type);

  std::uint64_t _size = 0;
  std::array<std::byte, 8> _scalar{};
  HeapBytes _item;
  std::unique_ptr<DataView> _tree;
  enum class Place { kScalar, kItem, kTree } _place = Place::kScalar;
};

// Text of a Unicode value for messages: short, printable.
std::u16string TextOf(std::span<const std::byte> bytes);

}  // namespace parvane::pstfile::check
