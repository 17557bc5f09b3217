#include "pstfile/ltp/bth.h"

#include "pstfile/ndb/fields.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;
using Fields = fields::BthHeader;

namespace {

Status Corrupt(const std::string& what) { return {StatusCode::kCorrupt, "BTH: " + what}; }

}  // namespace

BthHeader BthHeader::Load(std::span<const std::byte> item) {
  return {LoadField<std::uint8_t>(item, Fields::kKeySize),
          LoadField<std::uint8_t>(item, Fields::kDataSize),
          LoadField<std::uint8_t>(item, Fields::kLevels),
          HeapId(LoadField<std::uint32_t>(item, Fields::kRoot))};
}

Result<BthHeader> BthHeader::Decode(std::span<const std::byte> item) {
  if (item.size() < kBthHeaderSize) {
    return Corrupt("header of " + std::to_string(item.size()) + " bytes");
  }
  if (item[Fields::kType.offset] != kBthType) return Corrupt("bType is not B5");
  const BthHeader header = Load(item);
  if (header.levels > kBthMaxLevels) {
    return Corrupt("bIdxLevels is " + std::to_string(header.levels));
  }
  return header;
}

void BthHeader::Encode(std::span<std::byte> item) const {
  item[Fields::kType.offset] = kBthType;
  StoreField(item, Fields::kKeySize, keySize);
  StoreField(item, Fields::kDataSize, dataSize);
  StoreField(item, Fields::kLevels, levels);
  StoreField(item, Fields::kRoot, root.value);
}

Result<BthReader> BthReader::Open(const Heap& heap, HeapId header, std::size_t keySize,
                                  std::size_t dataSize) {
  auto item = heap.Item(header);
  if (!item.ok()) return item.status();
  auto decoded = BthHeader::Decode(item->bytes);
  if (!decoded.ok()) return decoded.status();
  if (decoded->keySize != keySize || decoded->dataSize != dataSize) {
    return Corrupt("cbKey " + std::to_string(decoded->keySize) + ", cbEnt " +
                   std::to_string(decoded->dataSize) + ", expected " + std::to_string(keySize) +
                   ", " + std::to_string(dataSize));
  }
  BthReader reader;
  reader._heap = &heap;
  reader._header = *decoded;
  return reader;
}

Status BthReader::ReadAll(std::vector<std::byte>& records, std::size_t limit) const {
  if (_header.root.IsNull()) return {};
  std::optional<std::uint64_t> last;
  return ReadBelow(_header.root, _header.levels, limit, last, records);
}

Status BthReader::ReadBelow(HeapId id, std::size_t level, std::size_t limit,
                            std::optional<std::uint64_t>& last,
                            std::vector<std::byte>& records) const {
  auto item = _heap->Item(id);
  if (!item.ok()) return item.status();
  const std::size_t size = level == 0 ? _header.LeafRecord() : _header.IndexRecord();
  // An index item without records would let a damaged tree fan out without ever reaching a key.
  if (item->bytes.size() < size) {
    return level == 0 && item->bytes.empty() ? Status() : Corrupt("item without records");
  }
  for (std::size_t at = 0; at + size <= item->bytes.size(); at += size) {
    if (level > 0) {
      const HeapId below(
          static_cast<std::uint32_t>(LoadSized(item->bytes, at + _header.keySize, 4)));
      const std::size_t before = records.size();
      if (Status status = ReadBelow(below, level - 1, limit, last, records); !status.ok()) {
        return status;
      }
      if (records.size() == before) return Corrupt("empty item below an index");
      continue;
    }
    const std::uint64_t key = LoadSized(item->bytes, at, _header.keySize);
    if (last && key <= *last) return Corrupt("key " + ToHex(key) + " after " + ToHex(*last));
    last = key;
    if (records.size() / size >= limit) return Corrupt("too many records");
    const auto record = item->bytes.subspan(at, size);
    records.insert(records.end(), record.begin(), record.end());
  }
  return {};
}

}  // namespace parvane::pstfile
