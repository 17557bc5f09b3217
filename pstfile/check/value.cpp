#include "pstfile/check/value.h"

#include <algorithm>
#include <cstring>

#include "pstfile/ltp/bth.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile::check {
namespace {

// Values may have 2 GB, and are compared and judged without being in memory.
constexpr std::size_t kPiece = kMaximumBlockData;

PropType ElementOf(PropType multi) {
  return static_cast<PropType>(static_cast<std::uint16_t>(multi) & 0xFFF);
}

}  // namespace

bool IsKnownType(PropType type) {
  switch (static_cast<std::uint16_t>(type)) {
    case 0x0001:  // null
    case 0x00FB:  // server entry id
    case 0x00FD:  // restriction
    case 0x00FE:  // rule action
      return true;
    default:
      break;
  }
  if (type == PropType::kObject || FixedSize(type) != 0) return true;
  const PropType element = IsMultiValue(type) ? ElementOf(type) : type;
  if (element == PropType::kString8 || element == PropType::kUnicode ||
      element == PropType::kBinary) {
    return true;
  }
  // There are no lists of Booleans and of error codes ([MS-OXCDATA] 2.11.1).
  return FixedSize(element) != 0 && element != PropType::kBoolean && element != PropType::kError;
}

std::optional<std::size_t> SizeOfPlainValue(NodeHeap& heap, PropType type, std::uint32_t raw) {
  const std::size_t fixed = FixedSize(type);
  if (IsInPlace(type)) {
    const bool plain = type != PropType::kBoolean && (fixed == 4 || raw >> 8 * fixed == 0);
    return plain ? std::optional(fixed) : std::nullopt;
  }
  const bool isText = type == PropType::kUnicode;
  if (fixed == 0 && !isText && type != PropType::kBinary) return std::nullopt;
  if (raw == 0) return std::nullopt;
  const auto item = heap.PeekItem(HeapId(raw));
  if (!item || (fixed != 0 && item->size() != fixed) || (isText && item->size() % 2 != 0)) {
    return std::nullopt;
  }
  return item->size();
}

std::optional<Value> Value::Of(NodeHeap& heap, PropType type, std::uint32_t raw,
                               std::string& reason) {
  std::optional<Value> result(std::in_place);
  Value& value = *result;
  if (IsInPlace(type)) {
    value._size = FixedSize(type);
    StoreSized(value._scalar, 0, FixedSize(type), raw);
    return result;
  }
  if (type == PropType::kNull) return result;
  const std::size_t exact = type == PropType::kObject ? 8 : FixedSize(type);
  // Empty: text of no characters, a list of no values. But 8 bytes are never none.
  if (raw == 0) {
    if (exact == 8) {
      reason = "a value of 8 bytes must be on the heap, the record says nowhere";
      return std::nullopt;
    }
    return result;
  }
  const HeapId id(raw);
  if (id.IsHeapItem()) {
    auto item = heap.Item(id);
    if (!item) {
      reason = Say("heap item ", Hex{raw}, " does not exist");
      return std::nullopt;
    }
    value._place = Place::kItem;
    value._size = item->bytes.size();
    value._item = std::move(*item);
  } else {
    const SubnodeEntry* subnode = heap.UseSubnode(NodeId(raw));
    if (subnode == nullptr) {
      reason = Say("subnode ", Hex{raw}, " does not exist");
      return std::nullopt;
    }
    auto tree = DataView::Open(heap.context().image, subnode->data);
    if (!tree) {
      reason = Say("subnode ", Hex{raw}, ": its data, block ", subnode->data, ", cannot be read");
      return std::nullopt;
    }
    if (exact == 8) {
      reason = Say("a value of 8 bytes must be on the heap, not in subnode ", Hex{raw});
      return std::nullopt;
    }
    value._place = Place::kTree;
    value._size = tree->size();
    value._tree = std::make_unique<DataView>(std::move(*tree));
  }
  if (exact != 0 && value._size != exact) {
    reason = Say(value._size, " bytes, expected ", exact);
    return std::nullopt;
  }
  return result;
}

Value Value::OfScalar(std::span<const std::byte> bytes) {
  Value value;
  value._size = std::min<std::size_t>(bytes.size(), 8);
  std::copy_n(bytes.begin(), static_cast<std::size_t>(value._size), value._scalar.begin());
  return value;
}

std::optional<std::span<const std::byte>> Value::InMemory() const {
  if (_place == Place::kTree) return std::nullopt;
  if (_place == Place::kItem) return _item.bytes;
  return std::span<const std::byte>(_scalar).first(static_cast<std::size_t>(_size));
}

std::size_t Value::ReadAt(std::uint64_t offset, std::span<std::byte> out) {
  const auto bytes = InMemory();
  if (!bytes) return _tree->ReadAt(offset, out);
  if (offset >= bytes->size()) return 0;
  const auto from = static_cast<std::size_t>(offset);
  const std::size_t size = std::min(out.size(), bytes->size() - from);
  std::memcpy(out.data(), bytes->data() + from, size);
  return size;
}

std::uint64_t Value::Number() {
  std::array<std::byte, 8> bytes{};
  ReadAt(0, std::span(bytes).first(static_cast<std::size_t>(std::min<std::uint64_t>(_size, 8))));
  return LoadU64(bytes);
}

std::vector<std::byte> Value::Bytes(std::size_t limit) {
  std::vector<std::byte> bytes(static_cast<std::size_t>(std::min<std::uint64_t>(_size, limit)));
  bytes.resize(ReadAt(0, bytes));
  return bytes;
}

bool Value::SameBytes(Value& other, std::uint64_t size) {
  if (const auto mine = InMemory(), theirs = other.InMemory(); mine && theirs) {
    const auto count = static_cast<std::size_t>(size);
    return check::SameBytes(mine->first(count), theirs->first(count));
  }
  std::vector<std::byte> mine(static_cast<std::size_t>(std::min<std::uint64_t>(size, kPiece)));
  std::vector<std::byte> theirs(mine.size());
  for (std::uint64_t at = 0; at < size;) {
    const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(size - at, mine.size()));
    if (ReadAt(at, std::span(mine).first(piece)) != piece ||
        other.ReadAt(at, std::span(theirs).first(piece)) != piece ||
        std::memcmp(mine.data(), theirs.data(), piece) != 0) {
      return false;
    }
    at += piece;
  }
  return true;
}

bool Value::Equals(Value& other) { return _size == other._size && SameBytes(other, _size); }

bool Value::IsPrefixOf(Value& other) { return _size < other._size && SameBytes(other, _size); }

std::string Value::FaultAs(PropType type) {
  if (type == PropType::kUnicode && _size % 2 != 0) return Say("text of ", _size, " bytes");
  if (type == PropType::kBoolean && Number() > 1) return Say("a Boolean of ", Number());
  return IsMultiValue(type) ? FaultAsMultiValue(type) : std::string();
}

// Values of one size stand side by side; of others there is the count, then where each begins, from
// the first byte on, then the values ([MS-PST] 2.3.3.4).
std::string Value::FaultAsMultiValue(PropType type) {
  const PropType element = ElementOf(type);
  if (const std::size_t each = FixedSize(element); each != 0) {
    return _size % each == 0 ? std::string()
                             : Say(_size, " bytes are no whole number of values of ", each);
  }
  if (_size == 0) return {};
  std::array<std::byte, 4> word{};
  if (ReadAt(0, word) != 4) return Say("a multi-value of ", _size, " bytes");
  const std::uint64_t count = LoadU32(word);
  const std::uint64_t table = 4 + 4 * count;
  if (table > _size) return Say(count, " values do not fit in ", _size, " bytes");
  std::uint64_t last = table;
  std::vector<std::byte> piece;
  for (std::uint64_t i = 0; i < count;) {
    piece.resize(static_cast<std::size_t>(std::min<std::uint64_t>(4 * (count - i), kPiece)));
    if (ReadAt(4 + 4 * i, piece) != piece.size()) return "its offsets cannot be read";
    for (std::size_t at = 0; at < piece.size(); at += 4, ++i) {
      const std::uint64_t offset = LoadU32(piece, at);
      if (offset < last || offset > _size || (i == 0 && offset != table)) {
        return Say("value ", i, " cannot begin at ", offset);
      }
      if (element == PropType::kUnicode && (offset - last) % 2 != 0) {
        return Say("the text before value ", i, " has an odd number of bytes");
      }
      last = offset;
    }
  }
  return {};
}

std::u16string TextOf(std::span<const std::byte> bytes) {
  std::u16string text(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    text[i] = static_cast<char16_t>(LoadU16(bytes, 2 * i));
  }
  return text;
}

}  // namespace parvane::pstfile::check
