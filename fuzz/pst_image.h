// PSTs as inputs of a fuzzer. A small PST is 271,360 bytes, nearly all of them zero, and under
// check sums; so an input is
//
//   a PST as it is, when it begins with "!BDN"; otherwise
//   flags size piece*
//     flags  1 byte   what the target does besides; kSeal: check sums and trailers are made right
//                     first, so that the damage itself is met and not its check sum
//     size   2 bytes  of the file, in units of 64 bytes (all numbers: least byte first)
//   piece := at (2 bytes, in units of 64) count (1 byte) count * 64 bytes, at the end perhaps less
//
// fuzz/pst_seeds.cpp makes such inputs.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <span>

#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/layout.h"
#include "pstfile/ndb/little_endian.h"
#include "pstfile/ndb/page.h"
#include "tests/pstfile/ndb_memory_files.h"

namespace parvane::pstfile {

inline constexpr char16_t kFuzzedPath[] = u"fuzz.pst";

class PstImage {
 public:
  static constexpr std::uint8_t kSeal = 1;

  explicit PstImage(std::span<const std::byte> input) {
    _files.diskSize = 16U << 20;
    Bytes& file = _files[kFuzzedPath];
    if (input.size() >= 4 && LoadU32(input, 0) == 0x4E444221) {
      file.assign(input.begin(), input.end());
      return;
    }
    if (input.size() < 3) return;
    _flags = LoadU8(input, 0);
    file.resize(LoadU16(input, 1) * kUnit);
    input = input.subspan(3);
    while (input.size() > 3) {
      const std::size_t at = LoadU16(input, 0) * kUnit;
      const auto piece = input.subspan(3, std::min(input.size() - 3, LoadU8(input, 2) * kUnit));
      if (at < file.size()) {
        std::ranges::copy(piece.first(std::min(piece.size(), file.size() - at)),
                          file.begin() + static_cast<std::ptrdiff_t>(at));
      }
      input = input.subspan(3 + piece.size());
    }
    if ((_flags & kSeal) != 0 && file.size() >= kHeaderSize) Seal(file);
  }

  MemoryFiles& files() { return _files; }
  std::uint8_t flags() const { return _flags; }

 private:
  static constexpr std::size_t kUnit = 64;

  void Seal(Bytes& file) {
    SealTree(file, PageType::kBlockTree, LoadU64(file, 232), LoadU64(file, 240), 0);
    SealTree(file, PageType::kNodeTree, LoadU64(file, 216), LoadU64(file, 224), 0);
    StoreU32(file, 4, Crc(std::span(file).subspan(8, 471)));
    StoreU32(file, 524, Crc(std::span(file).subspan(8, 516)));
  }

  // Follows the tree as a reader would who believes every reference.
  void SealTree(Bytes& file, PageType type, std::uint64_t id, std::uint64_t offset, int depth) {
    if (depth > 8 || offset > file.size() || file.size() - offset < kPageSize) return;
    if (!_seen.insert(offset).second) return;
    const auto page = std::span(file).subspan(offset).first<kPageSize>();
    const unsigned level = LoadU8(page, 491);
    const std::size_t size = level == 0 && type == PageType::kNodeTree ? 32 : 24;
    for (std::size_t i = 0; i < LoadU8(page, 488) && (i + 1) * size <= 488; ++i) {
      if (level > 0) {
        SealTree(file, type, LoadU64(page, i * size + 8), LoadU64(page, i * size + 16), depth + 1);
      } else if (type == PageType::kBlockTree) {
        SealBlock(file, page.subspan(i * size, size));
      }
    }
    SealPage(page, type, FileOffset(offset), id);
  }

  static void SealBlock(Bytes& file, std::span<const std::byte> entry) {
    const std::uint64_t id = LoadU64(entry, 0), offset = LoadU64(entry, 8);
    const std::uint16_t size = LoadU16(entry, 16);
    const std::size_t whole = BlockSizeOnDisk(size);
    if (offset > file.size() || file.size() - offset < whole) return;
    const auto block = std::span(file).subspan(offset, whole);
    const auto fold = static_cast<std::uint32_t>(offset ^ id);
    StoreU16(block, whole - 16, size);
    StoreU16(block, whole - 14, static_cast<std::uint16_t>(fold >> 16 ^ fold));
    StoreU32(block, whole - 12, Crc(block.first(size)));
    StoreU64(block, whole - 8, id);
  }

  MemoryFiles _files;
  std::uint8_t _flags = 0;
  std::set<std::uint64_t> _seen;
};

}  // namespace parvane::pstfile
