#include "pstfile/check/space_check.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string>
#include <vector>

#include "pstfile/check/space_map.h"
#include "pstfile/check/tree_walk.h"
#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/header.h"
#include "pstfile/ndb/little_endian.h"
#include "pstfile/ndb/map_bits.h"
#include "pstfile/ndb/page.h"

namespace parvane::pstfile::check {
namespace {

struct MapPage {
  PageType type;
  bool due;
};

// The pages at the start of AMap interval `n`, one behind the other.
std::array<MapPage, 4> MapPagesOf(std::uint64_t n) {
  return {{{PageType::kAMap, true},
           {PageType::kPMap, HasPMap(n)},
           {PageType::kFMap, HasFMap(n)},
           {PageType::kFPMap, HasFPMap(n)}}};
}

// Takes what the trees lead to.
class SpaceVisitor : public TreeVisitor {
 public:
  SpaceVisitor(const Image& image, Reporter& reporter, SpaceMap& map)
      : _image(image), _reporter(reporter), _map(map) {}

  void OnPage(TreeKind kind, std::uint64_t offset) override {
    Take(offset, kPageSize, kind == TreeKind::kBlocks ? "BBT page" : "NBT page", 0);
  }
  void OnBlock(const BlockRecord& block) override {
    if (block.place.dataSize == 0 || block.place.dataSize > kMaximumBlockData) return;
    Take(block.place.offset.value, BlockSizeOnDisk(block.place.dataSize), "block ",
         block.bid.value);
  }

 private:
  void Take(std::uint64_t offset, std::uint64_t size, const char* what, std::uint64_t id) {
    const SpaceMap::Outcome outcome = _map.Take(offset, size, _image.size());
    if (outcome == SpaceMap::Outcome::kTaken) return;
    const std::string which =
        Say(what, id != 0 ? ToHex(id) : std::string(), " at ", Hex{offset}, " (", size, " bytes)");
    if (outcome == SpaceMap::Outcome::kOnMapPage) {
      _reporter.Error(codes::kSpaceOnMap, which + " lies on a map page");
    } else {
      _reporter.Error(codes::kSpaceOverlap, which + " overlaps another block or page");
    }
  }

  const Image& _image;
  Reporter& _reporter;
  SpaceMap& _map;
};

class SpaceCheck {
 public:
  SpaceCheck(Image& image, Reporter& reporter) : _image(image), _reporter(reporter) {}

  void Run(Survey* survey) {
    const FileHeader& h = _image.header();
    const std::uint64_t intervals = SpaceMap::IntervalsOf(_image);
    if (intervals == 0) return;
    _mapsCount = h.mapState == 1 || h.mapState == 2;
    if (h.lastAMap != IntervalOffset(intervals - 1)) {
      _reporter.Error(codes::kLastMap,
                      Say("header: ibAMapLast is ", Hex{h.lastAMap}, ", the last AMap is at ",
                          Hex{IntervalOffset(intervals - 1)}));
    }
    SpaceMap own;
    for (std::uint64_t first = 0; first < intervals; first += SpaceMap::kMostIntervals) {
      const std::uint64_t count = std::min(SpaceMap::kMostIntervals, intervals - first);
      const SpaceMap* map = first == 0 && survey != nullptr ? survey->space() : nullptr;
      if (map == nullptr) {
        own.Begin(first, count);
        SpaceVisitor visitor(_image, _reporter, own);
        WalkTree(_image, TreeKind::kBlocks, visitor, nullptr);
        WalkTree(_image, TreeKind::kNodes, visitor, nullptr);
        map = &own;
      }
      for (std::uint64_t n = first; n < first + count; ++n) CheckInterval(n, map->MapOf(n));
      if (survey != nullptr) survey->DropSpace();
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
  bool ReadMapPage(const MapPage& kind, std::uint64_t offset, PageBytes& page);
  bool ReservedForPages(std::uint64_t offset);
  void CheckFreeCounts();
  void CheckDensityList();

  Image& _image;
  Reporter& _reporter;
  bool _mapsCount = false;
  std::uint64_t _freeBytes = 0;
  bool _allMapsRead = true;
  PageBytes _pageMap{};  // the PMap of the current eight intervals
};

bool SpaceCheck::ReadMapPage(const MapPage& kind, std::uint64_t offset, PageBytes& page) {
  const std::string at = Say(PageTypeName(kind.type), " at ", Hex{offset}, ": ");
  if (!_image.Read(offset, page)) {
    Fault(codes::kPagePlace, at + "the file ends before it, or it cannot be read");
    return false;
  }
  const PageTrailer trailer = PageTrailer::Decode(page);
  const auto type = static_cast<std::uint8_t>(kind.type);
  if (trailer.type != type || trailer.typeRepeat != type) {
    Fault(codes::kPageType, at + Say("page type ", Hex{trailer.type}, "/", Hex{trailer.typeRepeat},
                                     ", expected ", Hex{type}));
    return false;
  }
  const std::uint32_t crc = Crc(std::span(page).first(kPageBodySize));
  if (trailer.crc != crc) {
    Fault(codes::kPageCrc, at + Say("dwCRC ", Hex{trailer.crc}, ", computed ", Hex{crc}));
  }
  if (trailer.signature != 0) {
    Fault(codes::kPageSignature, at + Say("wSig ", Hex{trailer.signature}, ", expected 0"));
  }
  if (trailer.id != offset) {
    Fault(codes::kPageId, at + Say("page id ", Hex{trailer.id}, ", expected its own offset"));
  }
  return true;
}

void SpaceCheck::CheckInterval(std::uint64_t n, std::span<const std::uint8_t> used) {
  std::uint64_t offset = IntervalOffset(n);
  PageBytes map{};
  bool haveMap = false;
  for (const MapPage& kind : MapPagesOf(n)) {
    if (!kind.due) continue;
    PageBytes page{};
    const bool read = ReadMapPage(kind, offset, page);
    if (kind.type == PageType::kAMap) {
      map = page;
      haveMap = read;
    } else {
      if (kind.type == PageType::kPMap) _pageMap = page;
      const auto body = std::span(page).first(kPageBodySize);
      if (read &&
          std::any_of(body.begin(), body.end(), [](std::byte b) { return b != std::byte{0xFF}; })) {
        _reporter.Habit(codes::kMapContent,
                        Say(PageTypeName(kind.type), " at ", Hex{offset},
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
    const std::uint64_t at = IntervalOffset(n) + from * kBlockAlignment;
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
  static_assert(kPageBodySize % sizeof(std::uint64_t) == 0);
  for (std::size_t i = 0; i < map.size(); ++i) {
    if (i % sizeof(std::uint64_t) == 0 && open == Kind::kNone) {
      const std::uint64_t word = LoadU64(map, i);
      if (word == LoadU64(std::as_bytes(used), i)) {
        _freeBytes += kBlockAlignment * static_cast<unsigned>(std::popcount(~word));
        i += sizeof(std::uint64_t) - 1;
        continue;
      }
    }
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
        kind = ReservedForPages(IntervalOffset(n) + slot * kBlockAlignment) ? Kind::kReserved
                                                                            : Kind::kLeak;
      }
      if (kind == open) continue;
      close(slot);
      open = kind;
    }
  }
  close(kSlotsPerMap);
}

void SpaceCheck::CheckFreeCounts() {
  const FileHeader& h = _image.header();
  if (_mapsCount && _allMapsRead && h.freeBytes != _freeBytes) {
    _reporter.Warning(codes::kFreeCount, Say("header: cbAMapFree is ", h.freeBytes,
                                             ", the AMaps show ", _freeBytes, " free bytes"));
  }
  const std::uint64_t freePageBytes = LoadField(h.raw, fields::Header::kFreePageBytes);
  if (freePageBytes != 0) {
    _reporter.Habit(codes::kFreeCount,
                    Say("header: cbPMapFree is ", freePageBytes, ", expected 0"));
  }
}

void SpaceCheck::CheckDensityList() {
  PageBytes page{};
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
  const PageTrailer trailer = PageTrailer::Decode(page);
  constexpr auto kType = static_cast<std::uint8_t>(PageType::kDList);
  if (trailer.type != kType || trailer.typeRepeat != kType) {
    fault(Severity::kError, Say("page type ", Hex{trailer.type}, "/", Hex{trailer.typeRepeat},
                                ", expected ", Hex{kType}));
    return;
  }
  const std::uint32_t crc = Crc(std::span(page).first(kPageBodySize));
  if (trailer.crc != crc) {
    fault(Severity::kError, Say("dwCRC ", Hex{trailer.crc}, ", computed ", Hex{crc}));
  }
  const std::uint16_t signature = Signature(kDListOffset, trailer.id);
  if (trailer.signature != signature) {
    fault(Severity::kError, Say("wSig ", Hex{trailer.signature}, ", computed ", Hex{signature}));
  }
  if (trailer.id != _image.header().nextPageId && _mapsCount) {
    fault(_reporter.foreign() ? Severity::kNote : Severity::kWarning,
          Say("page id ", Hex{trailer.id}, " is not bidNextP, ", Hex{_image.header().nextPageId},
              ": the list is stale"));
  }
  using fields::DensityList;
  constexpr std::size_t kFit = DensityList::kEntries.size / sizeof(std::uint32_t);
  const auto entries = LoadField<unsigned>(page, DensityList::kCount);
  if (entries > kFit) {
    fault(Severity::kError, Say(entries, " entries, at most ", kFit, " fit"));
    return;
  }
  const std::uint64_t maps = (_image.size() - kFirstAMapOffset + kAMapInterval - 1) / kAMapInterval;
  for (unsigned i = 0; i < entries; ++i) {
    // The low 20 bits name an AMap, the others tell its free slots.
    const std::uint32_t map = LoadU32(page, DensityList::kEntries.offset + 4 * i) & 0xFFFFF;
    if (map >= maps) fault(Severity::kError, Say("entry ", i, " names AMap ", map, " of ", maps));
  }
}

}  // namespace

void CheckSpace(Image& image, Reporter& reporter, Survey* survey) {
  SpaceCheck(image, reporter).Run(survey);
}

}  // namespace parvane::pstfile::check
