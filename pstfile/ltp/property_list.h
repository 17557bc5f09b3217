// A list of properties on its way into the file: at most one value for each property id, small
// values copied into one arena. It is kept as it was set, and put in the order of ids for those who
// ask for that.
//
// A large value is not held here: stream it into the file first (PstStore::NewValue) and add the
// StoredValue that comes back.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/buffer_pool.h"
#include "platform/recycled_vector.h"
#include "pstfile/ltp/property_tag.h"
#include "pstfile/ndb/ids.h"

namespace parvane::pstfile {

// A value already in the file's blocks. A newly written one is loose (see node_database.h): it
// passes to the object it is written with, and one that is not used must be given back
// (PstStore::Abandon). root is the null id exactly when size is 0.
struct StoredValue {
  BlockId root;
  std::uint64_t size = 0;
  friend bool operator==(const StoredValue&, const StoredValue&) = default;
};

// The value of an Object property: the subnode that holds the object, and its size.
struct ObjectValue {
  NodeId node;
  std::uint32_t size = 0;
};

struct Property {
  enum class Kind : std::uint8_t { kScalar, kBytes, kStored, kObject };

  PropTag tag;
  Kind kind = Kind::kScalar;
  std::uint64_t scalar = 0;          // raw bits, zero-extended (kScalar)
  std::span<const std::byte> bytes;  // as stored (kBytes); valid until the list changes
  StoredValue stored;                // kStored
  ObjectValue object;                // kObject

  // Bytes the value occupies, as sizes of messages and attachments count them.
  std::uint64_t Size() const;
};

class PropertyList {
 public:
  // Each of these replaces a value of the same property id, whatever its type. Text is stored as
  // UTF-16LE without terminator; an unpaired surrogate in it becomes U+FFFD.
  void SetScalar(PropTag tag, std::uint64_t bits);
  void SetBool(PropTag tag, bool value) { SetScalar(tag, value ? 1 : 0); }
  void SetInt32(PropTag tag, std::int32_t value) {
    SetScalar(tag, static_cast<std::uint32_t>(value));
  }
  void SetText(PropTag tag, std::u16string_view text);
  // Of ASCII characters alone.
  void SetAsciiText(PropTag tag, std::string_view text);
  // The value exactly as the format stores it: Guid, Binary, String8, Unicode, multi-values
  // (EncodeMultiValue). Bytes of Unicode types are freed of unpaired surrogates too.
  void SetBytes(PropTag tag, std::span<const std::byte> bytes);
  // Replacing or removing a stored value does not give it back to the file.
  void SetStored(PropTag tag, StoredValue value);
  void SetObject(PropTag tag, ObjectValue value);
  // A property of another list.
  void Set(const Property& property);
  // Gives `to` the value of `from`, unless that is stored, without a second copy of its bytes. Both
  // have the same type.
  void CopyValue(PropTag to, PropTag from);
  bool Remove(std::uint16_t id);
  // Keeps the memory.
  void Clear();
  // Room for what the list of a whole message mostly has.
  void ReserveForMessage();
  // Gives up the room that is not used: for lists that many others are kept beside.
  void ShrinkToFit();

  bool empty() const { return _items.empty(); }
  std::size_t size() const { return _items.size(); }
  // In the order of ids.
  Property at(std::size_t index) const { return View(Ordered(index)); }
  // A property without its bytes.
  struct Item {
    PropTag tag;
    Property::Kind kind = Property::Kind::kScalar;
    std::uint64_t scalar = 0;  // raw bits; of other kinds, where the value is
    std::uint64_t size = 0;    // as Property::Size
  };
  // In no certain order, for those who need none: the same until a property is added or removed, or
  // one is asked for by its place in the order of ids. Replacing a value keeps its position.
  std::span<const Item> items() const { return _items; }
  Property View(const Item& item) const;
  // Of a value held as bytes.
  std::span<const std::byte> BytesOf(const Item& item) const {
    return {_arena.data() + item.scalar, static_cast<std::size_t>(item.size)};
  }
  // The place of each item in the order of ids.
  void RankItems(platform::RecycledVector<std::uint16_t>& ranks) const;
  // By tag, or by id alone; none when absent or of another type.
  std::optional<Property> Find(PropTag tag) const;
  std::optional<Property> FindId(std::uint16_t id) const;
  // Gives `use` the property, where there is one of this tag.
  template <typename Use>
  void With(PropTag tag, const Use& use) const {
    const std::size_t at = IndexOf(tag.Id());
    if (at != kNone && _items[at].tag == tag) use(View(_items[at]));
  }
  std::optional<std::uint64_t> Scalar(PropTag tag) const;
  // The text of a Unicode property held as bytes.
  std::optional<std::u16string> Text(PropTag tag) const;
  // The same, where possible without a copy: valid until the list or `scratch` changes.
  std::optional<std::u16string_view> ViewText(PropTag tag, std::u16string& scratch) const;
  // Every value is a scalar, or bytes and no more than so many.
  bool HasOnlyShort(std::size_t most) const {
    return std::ranges::all_of(_items, [most](const Item& item) {
      return item.kind == Property::Kind::kScalar ||
             (item.kind == Property::Kind::kBytes && item.size <= most);
    });
  }
  bool HasId(std::uint16_t id) const { return IndexOf(id) != kNone; }

 private:
  // Bytes that are not set to zero before they are written.
  class Arena {
   public:
    Arena() = default;
    Arena(const Arena& other);
    Arena(Arena&& other) noexcept;
    Arena& operator=(Arena other) noexcept;
    std::size_t size() const { return _size; }
    std::byte* data() { return _bytes.get(); }
    const std::byte* data() const { return _bytes.get(); }
    void clear() { _size = 0; }
    void reserve(std::size_t capacity);
    void shrinkToFit();
    void grow(std::size_t count) {
      if (count > _capacity - _size) reserve(std::max(_size + count, 2 * _capacity));
      _size += count;
    }
    // Where a value lies that may be one of these, for when they move; none when it is not.
    std::optional<std::size_t> OffsetOf(const void* value) const {
      const auto* at = static_cast<const std::byte*>(value);
      const std::byte* start = data();
      if (_size == 0 || std::less<>()(at, start) || !std::less<>()(at, start + _size)) {
        return std::nullopt;
      }
      return static_cast<std::size_t>(at - start);
    }

   private:
    // Buffers of these sizes are used by many lists by turns.
    static constexpr std::size_t kSmall = 2 * 1024;
    static constexpr std::size_t kLarge = 16 * 1024;
    struct Deleter {
      Deleter() noexcept {}
      explicit Deleter(std::size_t bytes) noexcept : size(bytes) {}
      std::size_t size = 0;
      void operator()(std::byte* bytes) const noexcept;
    };

    std::unique_ptr<std::byte[], Deleter> _bytes;
    std::size_t _size = 0;
    std::size_t _capacity = 0;
  };
  // Where the items of a list of ordinary length stand, by a hash of their ids: properties come
  // in any order, and each is looked for several times on its way to the file.
  class Places {
   public:
    static constexpr std::size_t kMostItems = 128;

    // No place is taken, and there is none to take before Clear.
    bool IsEmpty() const { return _cells.empty(); }
    void Clear() { _cells.assign(256, 0); }
    // Gives the memory back, of a list without items.
    void Release() {
      _cells.clear();
      _cells.shrink_to_fit();
    }
    // The cell of an id: holds the number of its item, or 0. There are more cells than items.
    std::uint8_t& CellOf(std::uint16_t id, std::span<const Item> items) {
      std::uint8_t cell = static_cast<std::uint8_t>((id * 0x9E37U) >> 8);
      while (_cells[cell] != 0 && items[_cells[cell] - 1U].tag.Id() != id) ++cell;
      return _cells[cell];
    }

   private:
    // None or 256, every number one higher than the item's index.
    platform::RecycledVector<std::uint8_t> _cells;
  };
  static_assert(Places::kMostItems < 255);
  static constexpr std::size_t kNone = ~std::size_t{0};

  Item& Slot(PropTag tag);
  // Of the item with this id, wherever it stands.
  std::size_t IndexOf(std::uint16_t id) const {
    if (_places.IsEmpty()) return kNone;
    return IsLong() ? IndexInLong(id) : _places.CellOf(id, _items) - std::size_t{1};
  }
  std::size_t IndexInLong(std::uint16_t id) const;
  const Item& Ordered(std::size_t index) const {
    if (!_inOrder) PutInOrder();
    return _items[index];
  }
  void PutInOrder() const;
  void FillPlaces() const;
  // Long lists are kept in order.
  bool IsLong() const { return _items.size() > Places::kMostItems; }

  mutable platform::RecycledVector<Item> _items;  // in the order of ids when asked for so
  mutable bool _inOrder = true;
  mutable Places _places;  // unless IsLong
  Arena _arena;
};

inline Property PropertyList::View(const Item& item) const {
  Property property;
  property.tag = item.tag;
  property.kind = item.kind;
  switch (item.kind) {
    case Property::Kind::kScalar:
      property.scalar = item.scalar;
      break;
    case Property::Kind::kBytes:
      property.bytes = BytesOf(item);
      break;
    case Property::Kind::kStored:
      property.stored = {BlockId(item.scalar), item.size};
      break;
    case Property::Kind::kObject:
      property.object = {NodeId(static_cast<std::uint32_t>(item.scalar)),
                         static_cast<std::uint32_t>(item.size)};
      break;
  }
  return property;
}

// Multi-values as the format stores them. Strings: UTF-16LE, freed of unpaired surrogates.
std::vector<std::byte> EncodeMultiText(std::span<const std::u16string_view> values);
std::vector<std::byte> EncodeMultiBinary(std::span<const std::span<const std::byte>> values);
// The elements of a stored multi-value of strings or binaries, as views; none when malformed.
std::optional<std::vector<std::span<const std::byte>>> DecodeMultiVariable(
    std::span<const std::byte> value);

// UTF-16LE bytes and text. DecodeText ignores a trailing odd byte.
void AppendText(std::u16string_view text, std::vector<std::byte>& out);
// To exactly as many bytes as the text takes; an unpaired surrogate becomes U+FFFD.
void EncodeText(std::u16string_view text, std::span<std::byte> to);
std::u16string DecodeText(std::span<const std::byte> bytes);

}  // namespace parvane::pstfile
