#include "pstfile/check/space_check.h"

#include <algorithm>
#include <bit>
#include <string>
#include <vector>

#include "pstfile/check/tree_walk.h"
#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile::check {
namespace {

constexpr std::uint64_t kIntervalsAtOnce = (std::uint64_t{16} << 20) / kPageBodySize;
constexpr unsigned kSlotsPerMap = kPageBodySize * 8;

struct MapPage {
  const char* name;
  std::uint8_t type;
  bool due;
};

// The pages at the start of AMap interval `n`, one behind the other.
struct FixedPages {
  explicit FixedPages(std::uint64_t n)
      : pages{{"AMap", 0x84, true},
              {"PMap", 0x83, n % 8 == 0},
              {"FMap", 0x82, n >= 128 && (n - 128) % 496 == 0},
              {"FPMap", 0x85, n >= 8192 && (n - 8192) % 31744 == 0}} {
    for (const MapPage& page : pages) size += page.due ? kPageSize : 0;
  }
  MapPage pages[4];
  std::uint64_t size = 0;
};

constexpr std::uint64_t MapOffset(std::uint64_t n) { return kFirstAMapOffset + n * kAMapInterval; }

// Marks what lies in a window of the file, bit for bit as the AMaps do.
class SpaceVisitor : public TreeVisitor {
 public:
  SpaceVisitor(const Image& image, Reporter& reporter) : _image(image), _reporter(reporter) {}

  void Begin(std::uint64_t firstInterval, std::uint64_t intervals) {
    _first = firstInterval;
    _start = MapOffset(firstInterval);
    _bits.assign(static_cast<std::size_t>(intervals * kPageBodySize), 0);
    for (std::uint64_t n = 0; n < intervals; ++n) {
      Set(n * kSlotsPerMap, FixedPages(firstInterval + n).size / kBlockAlignment);
    }
  }

  std::span<const std::uint8_t> MapOf(std::uint64_t interval) const {
    return std::span(_bits).subspan(static_cast<std::size_t>((interval - _first) * kPageBodySize),
                                    kPageBodySize);
  }

  void OnPage(TreeKind kind, std::uint64_t offset) override {
    Take(offset, kPageSize, kind == TreeKind::kBlocks ? "BBT page" : "NBT page", 0);
  }
  void OnBlock(const BlockEntry& block) override {
    if (block.dataSize == 0 || block.dataSize > kMaximumBlockData) return;
    Take(block.offset, BlockSizeOnDisk(block.dataSize), "block ", block.bid.value);
  }

 private:
  // Sets the bits that lie in the window; false when one was set before.
  bool Set(std::uint64_t slot, std::uint64_t count) {
    bool fresh = true;
    for (std::uint64_t i = slot; i < slot + count; ++i) {
      std::uint8_t& byte = _bits[static_cast<std::size_t>(i / 8)];
      const auto bit = static_cast<std::uint8_t>(0x80U >> (i % 8));
      fresh = fresh && (byte & bit) == 0;
      byte |= bit;
    }
    return fresh;
  }

  void Take(std::uint64_t offset, std::uint64_t size, const char* what, std::uint64_t id) {
    if (offset < kFirstAMapOffset || offset > _image.size() || size > _image.size() - offset)
      return;
    const std::uint64_t end = _start + _bits.size() * 8 * kBlockAlignment;
    if (offset + size <= _start || offset >= end) return;
    const auto describe = [&] {
      return Say(what, id != 0 ? ToHex(id) : std::string(), " at ", Hex{offset}, " (", size,
                 " bytes)");
    };
    const std::uint64_t interval = (offset - kFirstAMapOffset) / kAMapInterval;
    if (offset < MapOffset(interval) + FixedPages(interval).size ||
        offset + size > MapOffset(interval + 1)) {
      if (offset >= _start) _reporter.Error(codes::kSpaceOnMap, describe() + " lies on a map page");
      return;
    }
    const std::uint64_t first = (offset - _start) / kBlockAlignment;
    if (!Set(first, (size + kBlockAlignment - 1) / kBlockAlignment)) {
      _reporter.Error(codes::kSpaceOverlap, describe() + " overlaps another block or page");
    }
  }

  const Image& _image;
  Reporter& _reporter;
  std::uint64_t _first = 0;
  std::uint64_t _start = 0;
  std::vector<std::uint8_t> _bits;
};

class SpaceCheck {
 public:
  SpaceCheck(Image& image, Reporter& reporter) : _image(image), _reporter(reporter) {}

  void Run() {
    const HeaderFields& h = _image.header();
    // What an interrupted writer took beyond the end it told of is nobody's yet.
    const std::uint64_t size =
        h.endOfFile > kFirstAMapOffset ? std::min(h.endOfFile, _image.size()) : _image.size();
    if (size <= kFirstAMapOffset) return;
    const std::uint64_t intervals = (size - kFirstAMapOffset + kAMapInterval - 1) / kAMapInterval;
    _mapsCount = h.mapState == 1 || h.mapState == 2;
    if (h.lastAMap != MapOffset(intervals - 1)) {
      _reporter.Error(codes::kLastMap,
                      Say("header: ibAMapLast is ", Hex{h.lastAMap}, ", the last AMap is at ",
                          Hex{MapOffset(intervals - 1)}));
    }
    SpaceVisitor visitor(_image, _reporter);
    for (std::uint64_t first = 0; first < intervals; first += kIntervalsAtOnce) {
      const std::uint64_t count = std::min(kIntervalsAtOnce, intervals - first);
      visitor.Begin(first, count);
      WalkTree(_image, TreeKind::kBlocks, visitor, nullptr);
      WalkTree(_image, TreeKind::kNodes, visitor, nullptr);
      for (std::uint64_t n = first; n < first + count; ++n) {
        CheckInterval(n, visitor.MapOf(n));
      }
    }
    CheckFreeCounts();
    CheckDensityList();
  }

 private:
  void CheckInterval(std::uint64_t n, std::span<const std::uint8_t> used);
  void CompareMap(std::uint64_t n, std::span<const std::byte> map,
                  std::span<const std::uint8_t> used);
  // Maps that do not count may be half written.
  void Fault(codes::Code code, std::string message) {
    if (_mapsCount) {
      _reporter.Error(code, std::move(message));
    } else {
      _reporter.Unclosed(code, std::move(message));
    }
  }
  bool ReadMapPage(const MapPage& kind, std::uint64_t offset, std::span<std::byte> bytes);
  bool ReservedForPages(std::uint64_t offset);
  void CheckFreeCounts();
  void CheckDensityList();

  Image& _image;
  Reporter& _reporter;
  bool _mapsCount = false;
  std::uint64_t _freeBytes = 0;
  bool _allMapsRead = true;
  std::array<std::byte, kPageSize> _pageMap{};  // the PMap of the current eight intervals
};

bool SpaceCheck::ReadMapPage(const MapPage& kind, std::uint64_t offset,
                             std::span<std::byte> bytes) {
  const std::string at = Say(kind.name, " at ", Hex{offset}, ": ");
  if (!_image.Read(offset, bytes)) {
    Fault(codes::kPagePlace, at + "the file ends before it, or it cannot be read");
    return false;
  }
  if (LoadU8(bytes, 496) != kind.type || LoadU8(bytes, 497) != kind.type) {
    Fault(codes::kPageType, at + Say("page type ", Hex{LoadU8(bytes, 496)}, "/",
                                     Hex{LoadU8(bytes, 497)}, ", expected ", Hex{kind.type}));
    return false;
  }
  const std::uint32_t crc = Crc(bytes.first(kPageBodySize));
  if (LoadU32(bytes, 500) != crc) {
    Fault(codes::kPageCrc, at + Say("dwCRC ", Hex{LoadU32(bytes, 500)}, ", computed ", Hex{crc}));
  }
  if (LoadU16(bytes, 498) != 0) {
    Fault(codes::kPageSignature, at + Say("wSig ", Hex{LoadU16(bytes, 498)}, ", expected 0"));
  }
  if (LoadU64(bytes, 504) != offset) {
    Fault(codes::kPageId,
          at + Say("page id ", Hex{LoadU64(bytes, 504)}, ", expected its own offset"));
  }
  return true;
}

void SpaceCheck::CheckInterval(std::uint64_t n, std::span<const std::uint8_t> used) {
  std::uint64_t offset = MapOffset(n);
  std::array<std::byte, kPageSize> map{};
  bool haveMap = false;
  for (const MapPage& kind : FixedPages(n).pages) {
    if (!kind.due) continue;
    std::array<std::byte, kPageSize> page{};
    const bool read = ReadMapPage(kind, offset, page);
    if (kind.type == 0x84) {
      map = page;
      haveMap = read;
    } else {
      if (kind.type == 0x83) _pageMap = page;
      const auto body = std::span(page).first(kPageBodySize);
      if (read &&
          std::any_of(body.begin(), body.end(), [](std::byte b) { return b != std::byte{0xFF}; })) {
        _reporter.Habit(codes::kMapContent,
                        Say(kind.name, " at ", Hex{offset},
                            " is not all FF: it describes free pages, which is no longer done"));
      }
    }
    offset += kPageSize;
  }
  if (!haveMap) {
    _allMapsRead = false;
  } else if (_mapsCount) {
    CompareMap(n, std::span(map).first(kPageBodySize), used);
  }
}

// Older versions of Outlook set pages aside for later use: marked in the AMap, free in the PMap.
bool SpaceCheck::ReservedForPages(std::uint64_t offset) {
  const std::uint64_t bit = (offset - kFirstAMapOffset) % (8 * kAMapInterval) / kPageSize;
  return (std::to_integer<unsigned>(_pageMap[static_cast<std::size_t>(bit / 8)]) &
          (0x80U >> (bit % 8))) == 0;
}

void SpaceCheck::CompareMap(std::uint64_t n, std::span<const std::byte> map,
                            std::span<const std::uint8_t> used) {
  enum class Kind { kNone, kLeak, kReserved, kUnmarked };
  Kind open = Kind::kNone;
  std::uint64_t from = 0;
  const auto close = [&](std::uint64_t slot) {
    const std::uint64_t at = MapOffset(n) + from * kBlockAlignment;
    const std::uint64_t size = (slot - from) * kBlockAlignment;
    if (open == Kind::kLeak) {
      _reporter.Warning(codes::kSpaceLeak, Say(size, " bytes at ", Hex{at},
                                               " are marked in their AMap and belong to nothing"));
    } else if (open == Kind::kReserved) {
      _reporter.Habit(codes::kSpaceLeak,
                      Say(size, " bytes at ", Hex{at}, " are reserved for pages by the PMap"));
    } else if (open == Kind::kUnmarked) {
      _reporter.Error(codes::kSpaceUnmarked,
                      Say(size, " bytes at ", Hex{at}, " are in use and free in their AMap"));
    }
    from = slot;
  };
  for (std::size_t i = 0; i < map.size(); ++i) {
    const unsigned marked = std::to_integer<unsigned>(map[i]);
    _freeBytes += kBlockAlignment * static_cast<unsigned>(std::popcount(~marked & 0xFFU));
    if (marked == used[i] && open == Kind::kNone) continue;
    for (unsigned bit = 0; bit < 8; ++bit) {
      const bool isMarked = (marked & (0x80U >> bit)) != 0;
      const bool isUsed = (used[i] & (0x80U >> bit)) != 0;
      const std::uint64_t slot = i * 8 + bit;
      Kind kind = Kind::kNone;
      if (isUsed && !isMarked) kind = Kind::kUnmarked;
      if (isMarked && !isUsed) {
        kind =
            ReservedForPages(MapOffset(n) + slot * kBlockAlignment) ? Kind::kReserved : Kind::kLeak;
      }
      if (kind == open) continue;
      close(slot);
      open = kind;
    }
  }
  close(kSlotsPerMap);
}

void SpaceCheck::CheckFreeCounts() {
  const HeaderFields& h = _image.header();
  if (_mapsCount && _allMapsRead && h.freeBytes != _freeBytes) {
    _reporter.Warning(codes::kFreeCount, Say("header: cbAMapFree is ", h.freeBytes,
                                             ", the AMaps show ", _freeBytes, " free bytes"));
  }
  if (h.freePageBytes != 0) {
    _reporter.Habit(codes::kFreeCount,
                    Say("header: cbPMapFree is ", h.freePageBytes, ", expected 0"));
  }
}

void SpaceCheck::CheckDensityList() {
  std::array<std::byte, kPageSize> page{};
  if (!_image.Read(kDListOffset, page)) return;
  if (std::all_of(page.begin(), page.end(), [](std::byte b) { return b == std::byte{0}; })) return;
  const auto fault = [&](Severity severity, const std::string& what) {
    const std::string message = Say("DList at ", Hex{kDListOffset}, ": ", what);
    if (severity == Severity::kError) {
      Fault(codes::kDensityList, message);
    } else {
      _reporter.Report(severity, codes::kDensityList, message);
    }
  };
  if (LoadU8(page, 496) != 0x86 || LoadU8(page, 497) != 0x86) {
    fault(Severity::kError, Say("page type ", Hex{LoadU8(page, 496)}, "/", Hex{LoadU8(page, 497)},
                                ", expected 0x86"));
    return;
  }
  const std::uint32_t crc = Crc(std::span(page).first(kPageBodySize));
  const std::uint64_t id = LoadU64(page, 504);
  if (LoadU32(page, 500) != crc) {
    fault(Severity::kError, Say("dwCRC ", Hex{LoadU32(page, 500)}, ", computed ", Hex{crc}));
  }
  if (LoadU16(page, 498) != Signature(kDListOffset, id)) {
    fault(Severity::kError,
          Say("wSig ", Hex{LoadU16(page, 498)}, ", computed ", Hex{Signature(kDListOffset, id)}));
  }
  if (id != _image.header().nextPageId && _mapsCount) {
    fault(_reporter.foreign() ? Severity::kNote : Severity::kWarning,
          Say("page id ", Hex{id}, " is not bidNextP, ", Hex{_image.header().nextPageId},
              ": the list is stale"));
  }
  const unsigned entries = LoadU8(page, 1);
  if (entries > 119) {
    fault(Severity::kError, Say(entries, " entries, at most 119 fit"));
    return;
  }
  const std::uint64_t maps = (_image.size() - kFirstAMapOffset + kAMapInterval - 1) / kAMapInterval;
  for (unsigned i = 0; i < entries; ++i) {
    const std::uint32_t map = LoadU32(page, 8 + 4 * i) & 0xFFFFF;
    if (map >= maps) fault(Severity::kError, Say("entry ", i, " names AMap ", map, " of ", maps));
  }
}

}  // namespace

void CheckSpace(Image& image, Reporter& reporter) { SpaceCheck(image, reporter).Run(); }

}  // namespace parvane::pstfile::check
