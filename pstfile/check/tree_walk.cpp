#include "pstfile/check/tree_walk.h"

#include <limits>
#include <optional>
#include <string>

#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/little_endian.h"

namespace parvane::pstfile::check {
namespace {

constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

class Walker {
 public:
  Walker(Image& image, TreeKind kind, TreeVisitor& visitor, Reporter* judge)
      : _image(image), _kind(kind), _visitor(visitor), _judge(judge) {}

  void Run() {
    const HeaderFields& h = _image.header();
    if (_kind == TreeKind::kBlocks) {
      Page(h.blockRootOffset, h.blockRootId, std::nullopt, 0, kNoLimit);
    } else {
      Page(h.nodeRootOffset, h.nodeRootId, std::nullopt, 0, kNoLimit);
    }
  }

 private:
  std::string At(std::uint64_t offset) const {
    return Say(_kind == TreeKind::kBlocks ? "BBT" : "NBT", " page at ", Hex{offset}, ": ");
  }
  void Fault(codes::Code code, std::uint64_t offset, const std::string& what) {
    if (_judge != nullptr) _judge->Error(code, At(offset) + what);
  }
  std::uint64_t Key(const TreePage& page, unsigned index, unsigned size) const {
    const std::uint64_t key = LoadU64(page.bytes, index * size);
    return _kind == TreeKind::kBlocks ? key & ~std::uint64_t{1} : key;
  }

  void JudgeTrailer(const TreePage& page, std::uint64_t offset, std::uint64_t id);
  bool JudgeFormat(const TreePage& page, std::uint64_t offset, std::optional<unsigned> level);
  // `level` none: the root. Keys of the page are expected in [low, high).
  void Page(std::uint64_t offset, std::uint64_t id, std::optional<unsigned> level,
            std::uint64_t low, std::uint64_t high);
  void Children(const TreePage& page, std::uint64_t offset, std::uint64_t high);
  void Entries(const TreePage& page, std::uint64_t offset, std::uint64_t high);

  Image& _image;
  TreeKind _kind;
  TreeVisitor& _visitor;
  Reporter* _judge;
  std::optional<std::uint64_t> _last;  // key of the last entry visited
};

void Walker::JudgeTrailer(const TreePage& page, std::uint64_t offset, std::uint64_t id) {
  if (_judge == nullptr) return;
  const unsigned type = _kind == TreeKind::kBlocks ? 0x80 : 0x81;
  if (LoadU8(page.bytes, 496) != type || LoadU8(page.bytes, 497) != type) {
    Fault(codes::kPageType, offset,
          Say("page type ", Hex{LoadU8(page.bytes, 496)}, "/", Hex{LoadU8(page.bytes, 497)},
              ", expected ", Hex{type}));
  }
  const std::uint32_t crc = Crc(page.body());
  if (LoadU32(page.bytes, 500) != crc) {
    Fault(codes::kPageCrc, offset,
          Say("dwCRC ", Hex{LoadU32(page.bytes, 500)}, ", computed ", Hex{crc}));
  }
  const std::uint64_t own = LoadU64(page.bytes, 504);
  if (own != id) {
    Fault(codes::kPageId, offset, Say("page id ", Hex{own}, ", its parent says ", Hex{id}));
  }
  if (own >= _image.header().nextPageId) {
    Fault(codes::kPageId, offset,
          Say("page id ", Hex{own}, " is not below the next to be given, ",
              Hex{_image.header().nextPageId}));
  }
  if (LoadU16(page.bytes, 498) != Signature(offset, own)) {
    Fault(codes::kPageSignature, offset,
          Say("wSig ", Hex{LoadU16(page.bytes, 498)}, ", computed ", Hex{Signature(offset, own)}));
  }
}

bool Walker::JudgeFormat(const TreePage& page, std::uint64_t offset,
                         std::optional<unsigned> level) {
  if (level ? page.level() != *level : page.level() > kMaximumTreeLevel) {
    Fault(codes::kTreeLevel, offset,
          Say("level ", page.level(), level ? ", expected " : ", expected at most ",
              level.value_or(kMaximumTreeLevel)));
    return false;
  }
  const unsigned size = TreeEntrySize(_kind, page.level());
  if (page.entrySize() != size) {
    Fault(codes::kTreeFormat, offset,
          Say("entries of ", page.entrySize(), " bytes, expected ", size));
    return false;
  }
  if (page.maximum() != 488 / size) {
    Fault(codes::kTreeFormat, offset, Say("cEntMax ", page.maximum(), ", expected ", 488 / size));
  }
  if (page.count() > 488 / size) {
    Fault(codes::kTreeFormat, offset, Say(page.count(), " entries, which do not fit"));
    return false;
  }
  if (LoadU32(page.bytes, 492) != 0) {
    Fault(codes::kTreeFormat, offset, "the padding before the trailer is not zero");
  }
  if (page.count() == 0 && (level || page.level() > 0)) {
    Fault(codes::kTreeFormat, offset, "empty, which only a root that is a leaf may be");
    return false;
  }
  return page.count() > 0;
}

void Walker::Page(std::uint64_t offset, std::uint64_t id, std::optional<unsigned> level,
                  std::uint64_t low, std::uint64_t high) {
  const TreePage* cached = _image.Page(offset);
  if (cached == nullptr) {
    Fault(codes::kPagePlace, offset,
          Say("not a page's place in a file of ", _image.size(), " bytes, or unreadable"));
    return;
  }
  // The visitor may look things up and so push the page out of the cache.
  const TreePage page = *cached;
  if (level) {
    const unsigned size = TreeEntrySize(_kind, page.level());
    const std::uint64_t first = Key(page, 0, size);
    if (page.count() > 0 && (first < low || first >= high || (_last && first <= *_last))) {
      Fault(codes::kTreeKey, offset,
            Say("begins with key ", Hex{first}, ", its parent says ", Hex{low},
                "; the page is left out"));
      return;
    }
    if (page.count() > 0 && first != low) {
      Fault(codes::kTreeKey, offset,
            Say("begins with key ", Hex{first}, ", its parent says ", Hex{low}));
    }
  }
  _visitor.OnPage(_kind, offset);
  if (_judge != nullptr) ++_judge->summary().pages;
  JudgeTrailer(page, offset, id);
  if (!JudgeFormat(page, offset, level)) return;
  if (page.level() > 0) {
    Children(page, offset, high);
  } else {
    Entries(page, offset, high);
  }
}

void Walker::Children(const TreePage& page, std::uint64_t offset, std::uint64_t high) {
  std::optional<std::uint64_t> before;
  for (unsigned i = 0; i < page.count(); ++i) {
    const std::uint64_t key = Key(page, i, 24);
    const std::uint64_t next = i + 1 < page.count() ? Key(page, i + 1, 24) : high;
    if (before && key <= *before) {
      Fault(codes::kTreeOrder, offset,
            Say("key ", Hex{key}, " follows ", Hex{*before}, "; its child is left out"));
      continue;
    }
    if (key >= high) {
      Fault(codes::kTreeKey, offset,
            Say("key ", Hex{key}, " reaches into the next page's range, ", Hex{high}));
      continue;
    }
    before = key;
    Page(LoadU64(page.bytes, i * 24 + 16), LoadU64(page.bytes, i * 24 + 8), page.level() - 1, key,
         next > key ? next : high);
  }
}

void Walker::Entries(const TreePage& page, std::uint64_t offset, std::uint64_t high) {
  const unsigned size = TreeEntrySize(_kind, 0);
  for (unsigned i = 0; i < page.count(); ++i) {
    const std::uint64_t key = Key(page, i, size);
    if (_last && key <= *_last) {
      Fault(codes::kTreeOrder, offset, Say("key ", Hex{key}, " follows ", Hex{*_last}));
      continue;
    }
    if (key >= high) {
      Fault(codes::kTreeKey, offset,
            Say("key ", Hex{key}, " reaches into the next page's range, ", Hex{high}));
      continue;
    }
    _last = key;
    const auto entry = page.body().subspan(std::size_t{i} * size, size);
    if (_kind == TreeKind::kBlocks) {
      _visitor.OnBlock(DecodeBlockEntry(entry));
    } else if (key >> 32 != 0) {
      Fault(codes::kNodeEntry, offset, Say("node id ", Hex{key}, " has its high half set"));
    } else {
      _visitor.OnNode(DecodeNodeEntry(entry));
    }
  }
}

}  // namespace

void WalkTree(Image& image, TreeKind kind, TreeVisitor& visitor, Reporter* judge) {
  Walker(image, kind, visitor, judge).Run();
}

}  // namespace parvane::pstfile::check
