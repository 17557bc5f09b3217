#include "pstfile/ltp/packed_rows.h"

#include <algorithm>

#include "platform/recycled_vector.h"
#include "pstfile/ltp/bth.h"
#include "pstfile/ltp/stored_values.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

constexpr std::size_t kPieceSize = 1u << 20;

// row   := count (2), items
// item  := tag (4), kind (1), value
// value := number (8) | size (4), bytes | block (8), size (8) | index (2) of an item with the
//          same bytes, as many cells of a recipient have
enum class Packed : std::uint8_t { kScalar, kBytes, kStored, kSameBytes };

class Packer {
 public:
  explicit Packer(std::vector<std::byte>& bytes) : _bytes(bytes) {}

  void Put(std::uint64_t value, std::size_t size) {
    const std::size_t at = _bytes.size();
    _bytes.resize(at + size);
    StoreSized(_bytes, at, size, value);
  }
  void Put(PropTag tag, Packed kind) {
    Put(tag.value, 4);
    Put(static_cast<std::uint64_t>(kind), 1);
  }
  void Put(std::span<const std::byte> bytes) {
    Put(bytes.size(), 4);
    _bytes.insert(_bytes.end(), bytes.begin(), bytes.end());
  }

 private:
  std::vector<std::byte>& _bytes;
};

// The items are our own: what is read here was written above.
class Unpacker {
 public:
  explicit Unpacker(std::span<const std::byte> bytes) : _bytes(bytes) {}
  std::uint64_t Take(std::size_t size) {
    const std::uint64_t value = LoadSized(_bytes, 0, size);
    _bytes = _bytes.subspan(size);
    return value;
  }
  std::span<const std::byte> TakeBytes() {
    const auto size = static_cast<std::size_t>(Take(4));
    const auto bytes = _bytes.first(size);
    _bytes = _bytes.subspan(size);
    return bytes;
  }

 private:
  std::span<const std::byte> _bytes;
};

void Pack(const PropertyList& row, std::span<const PropTag> columns,
          std::vector<std::byte>& bytes) {
  Packer packer(bytes);
  platform::RecycledVector<const PropertyList::Item*> kept;
  for (const PropertyList::Item& item : row.items()) {
    if (item.kind == Property::Kind::kObject) continue;  // no cell of a table
    if (columns.empty() || std::ranges::find(columns, item.tag) != columns.end()) {
      kept.push_back(&item);
    }
  }
  packer.Put(kept.size(), 2);
  for (std::size_t i = 0; i < kept.size(); ++i) {
    const PropertyList::Item& item = *kept[i];
    switch (item.kind) {
      case Property::Kind::kScalar:
      case Property::Kind::kObject:
        packer.Put(item.tag, Packed::kScalar);
        packer.Put(item.scalar, 8);
        break;
      case Property::Kind::kStored:
        packer.Put(item.tag, Packed::kStored);
        packer.Put(item.scalar, 8);
        packer.Put(item.size, 8);
        break;
      case Property::Kind::kBytes: {
        const auto same = std::find_if(
            kept.begin(), kept.begin() + std::ptrdiff_t(i), [&](const PropertyList::Item* other) {
              return other->kind == item.kind && other->scalar == item.scalar &&
                     other->size == item.size && item.size != 0;
            });
        if (same != kept.begin() + std::ptrdiff_t(i)) {
          packer.Put(item.tag, Packed::kSameBytes);
          packer.Put((*same)->tag.value, 4);
        } else {
          packer.Put(item.tag, Packed::kBytes);
          packer.Put(row.BytesOf(item));
        }
        break;
      }
    }
  }
}

void Unpack(std::span<const std::byte> bytes, PropertyList& row) {
  Unpacker unpacker(bytes);
  for (std::uint64_t left = unpacker.Take(2); left > 0; --left) {
    const PropTag tag(static_cast<std::uint32_t>(unpacker.Take(4)));
    switch (static_cast<Packed>(unpacker.Take(1))) {
      case Packed::kScalar:
        row.SetScalar(tag, unpacker.Take(8));
        break;
      case Packed::kBytes:
        row.SetBytes(tag, unpacker.TakeBytes());
        break;
      case Packed::kStored: {
        const BlockId root(unpacker.Take(8));
        row.SetStored(tag, {root, unpacker.Take(8)});
        break;
      }
      case Packed::kSameBytes:
        row.CopyValue(tag, PropTag(static_cast<std::uint32_t>(unpacker.Take(4))));
        break;
    }
  }
}

}  // namespace

Status PackedRows::Add(NodeDatabase* spill, const PropertyList& row, std::uint64_t& position,
                       std::span<const PropTag> columns) {
  if (!_pieces.empty() && _pieces.back().bytes.size() >= kPieceSize) {
    // First of all, so that whatever fails from here on nothing is added to one that is stored.
    _pieces.emplace_back().start = _end;
    Piece& full = *std::prev(_pieces.end(), 2);
    if (spill != nullptr) {
      auto stored = StoreBytes(*spill, full.bytes);
      if (!stored.ok()) return stored.status();
      full.stored = *stored;
      full.bytes = std::vector<std::byte>();
    }
  }
  if (_pieces.empty()) _pieces.emplace_back().start = _end;
  Piece& piece = _pieces.back();
  const std::size_t before = piece.bytes.size();
  try {
    Pack(row, columns, piece.bytes);
  } catch (...) {
    piece.bytes.resize(before);  // rows follow each other without a gap
    throw;
  }
  ++piece.rows;
  position = _end;
  _end += piece.bytes.size() - before;
  return {};
}

// The end when there is none.
std::deque<PackedRows::Piece>::iterator PackedRows::PieceOf(std::uint64_t position) {
  const auto after = std::ranges::upper_bound(_pieces, position, {}, &Piece::start);
  return after == _pieces.begin() ? _pieces.end() : std::prev(after);
}

Status PackedRows::Read(const NodeDatabase& database, std::uint64_t position, PropertyList& row) {
  row.Clear();
  const auto piece = PieceOf(position);
  if (piece == _pieces.end()) return {StatusCode::kInvalidArgument, "no such row"};
  std::span<const std::byte> bytes = piece->bytes;
  if (piece->stored.root) {
    if (_loadedRoot != piece->stored.root) {
      _loadedRoot = {};
      _loaded = std::vector<std::byte>();  // before the next one takes as much
      auto read = ReadStored(database, piece->stored, piece->stored.size);
      if (!read.ok()) return read.status();
      _loaded = std::move(*read);
      _loadedRoot = piece->stored.root;
    }
    bytes = _loaded;
  }
  Unpack(bytes.subspan(static_cast<std::size_t>(position - piece->start)), row);
  return {};
}

void PackedRows::Drop(NodeDatabase& database, Piece& piece) {
  if (piece.stored.root == _loadedRoot) {
    _loadedRoot = {};
    _loaded = std::vector<std::byte>();
  }
  database.AbandonBlock(piece.stored.root);
}

void PackedRows::Release(NodeDatabase& database, std::uint64_t position) {
  const auto piece = PieceOf(position);
  if (piece == _pieces.end() || --piece->rows != 0) return;
  if (std::next(piece) != _pieces.end()) {
    Drop(database, *piece);
    _pieces.erase(piece);
  } else {
    // It goes on being filled.
    piece->bytes.clear();
    piece->start = _end;
  }
}

void PackedRows::Clear(NodeDatabase& database) {
  for (Piece& piece : _pieces) Drop(database, piece);
  _pieces.clear();
}

}  // namespace parvane::pstfile
