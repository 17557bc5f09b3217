#include "pstfile/check/tree_walk.h"

#include <limits>
#include <optional>
#include <string>

#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/tree_page.h"

namespace parvane::pstfile::check {
namespace {

constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

class Walker {
 public:
  Walker(Image& image, TreeKind kind, TreeVisitor& visitor, Reporter* judge)
      : _image(image), _kind(kind), _visitor(visitor), _judge(judge) {}

  void Run() {
    const FileHeader& h = _image.header();
    Page(_kind == TreeKind::kBlocks ? h.blockRoot : h.nodeRoot, std::nullopt, 0, kNoLimit);
  }

 private:
  std::string At(std::uint64_t offset) const {
    return Say(_kind == TreeKind::kBlocks ? "BBT" : "NBT", " page at ", Hex{offset}, ": ");
  }
  void Fault(codes::Code code, std::uint64_t offset, const std::string& what) {
    if (_judge != nullptr) _judge->Error(code, At(offset) + what);
  }
  // A page while it is walked. A copy: the visitor may look things up and so push the page out of
  // the cache.
  struct Visited {
    PageBytes bytes;
    std::uint64_t offset;
    TreePageInfo info;
  };
  PageType Type() const { return PageTypeOf(_kind); }
  std::span<const std::byte> Entry(const Visited& page, unsigned index) const {
    const std::size_t size = TreeEntrySize(Type(), page.info.level);
    return std::span(page.bytes).subspan(index * size, size);
  }
  std::uint64_t Key(const Visited& page, unsigned index) const {
    return LoadTreeKey(Entry(page, index), Type());
  }

  void JudgeTrailer(const Visited& page, std::uint64_t id);
  bool JudgeFormat(const Visited& page, std::optional<unsigned> level);
  // `level` none: the root. Keys of the page are expected in [low, high).
  void Page(PageRef ref, std::optional<unsigned> level, std::uint64_t low, std::uint64_t high);
  void Children(const Visited& page, std::uint64_t high);
  void Entries(const Visited& page, std::uint64_t high);

  Image& _image;
  TreeKind _kind;
  TreeVisitor& _visitor;
  Reporter* _judge;
  // The key of the last entry visited. Entries reach the visitor in ascending order whatever the
  // pages say, so that none comes twice and a ring of pages comes to an end: visitors rely on both.
  std::optional<std::uint64_t> _last;
};

void Walker::JudgeTrailer(const Visited& page, std::uint64_t id) {
  if (_judge == nullptr) return;
  const PageTrailer trailer = PageTrailer::Decode(page.bytes);
  const auto type = static_cast<unsigned>(Type());
  if (trailer.type != type || trailer.typeRepeat != type) {
    Fault(codes::kPageType, page.offset,
          Say("page type ", Hex{trailer.type}, "/", Hex{trailer.typeRepeat}, ", expected ",
              Hex{type}));
  }
  const std::uint32_t crc = Crc(std::span(page.bytes).first(kPageBodySize));
  if (trailer.crc != crc) {
    Fault(codes::kPageCrc, page.offset, Say("dwCRC ", Hex{trailer.crc}, ", computed ", Hex{crc}));
  }
  if (trailer.id != id) {
    Fault(codes::kPageId, page.offset,
          Say("page id ", Hex{trailer.id}, ", its parent says ", Hex{id}));
  }
  if (trailer.id >= _image.header().nextPageId) {
    Fault(codes::kPageId, page.offset,
          Say("page id ", Hex{trailer.id}, " is not below the next to be given, ",
              Hex{_image.header().nextPageId}));
  }
  const std::uint16_t signature = Signature(page.offset, trailer.id);
  if (trailer.signature != signature) {
    Fault(codes::kPageSignature, page.offset,
          Say("wSig ", Hex{trailer.signature}, ", computed ", Hex{signature}));
  }
}

bool Walker::JudgeFormat(const Visited& page, std::optional<unsigned> level) {
  const TreePageInfo& info = page.info;
  if (level ? info.level != *level : info.level > kMaximumTreeLevel) {
    Fault(codes::kTreeLevel, page.offset,
          Say("level ", info.level, level ? ", expected " : ", expected at most ",
              level.value_or(kMaximumTreeLevel)));
    return false;
  }
  const std::size_t size = TreeEntrySize(Type(), info.level);
  const std::size_t fit = kTreeBodySize / size;
  if (info.entrySize != size) {
    Fault(codes::kTreeFormat, page.offset,
          Say("entries of ", info.entrySize, " bytes, expected ", size));
    return false;
  }
  if (info.maximum != fit) {
    Fault(codes::kTreeFormat, page.offset, Say("cEntMax ", info.maximum, ", expected ", fit));
  }
  if (info.count > fit) {
    Fault(codes::kTreeFormat, page.offset, Say(info.count, " entries, which do not fit"));
    return false;
  }
  if (info.padding != 0) {
    Fault(codes::kTreeFormat, page.offset, "the padding before the trailer is not zero");
  }
  if (info.count == 0 && (level || info.level > 0)) {
    Fault(codes::kTreeFormat, page.offset, "empty, which only a root that is a leaf may be");
    return false;
  }
  return info.count > 0;
}

void Walker::Page(PageRef ref, std::optional<unsigned> level, std::uint64_t low,
                  std::uint64_t high) {
  const std::uint64_t offset = ref.offset.value;
  const PageBytes* cached = _image.Page(offset);
  if (cached == nullptr) {
    Fault(codes::kPagePlace, offset,
          Say("not a page's place in a file of ", _image.size(), " bytes, or unreadable"));
    return;
  }
  const Visited page{*cached, offset, TreePageInfo::Decode(*cached)};
  if (level && page.info.count > 0) {
    const std::uint64_t first = Key(page, 0);
    // A page in the wrong place, or reached a second time. What it holds belongs somewhere else,
    // and would be told as missing there and as out of order here, entry by entry.
    if (first < low || first >= high || (_last && first <= *_last)) {
      Fault(codes::kTreeKey, offset,
            Say("begins with key ", Hex{first}, ", its parent says ", Hex{low},
                "; the page is left out"));
      return;
    }
    if (first != low) {
      Fault(codes::kTreeKey, offset,
            Say("begins with key ", Hex{first}, ", its parent says ", Hex{low}));
    }
  }
  _visitor.OnPage(_kind, offset);
  if (_judge != nullptr) ++_judge->summary().pages;
  // A wrong trailer is told, and the page is read all the same: its entries may be whole, and what
  // hangs on them is worth the look. Not so with a format that leaves the entries' size in doubt.
  JudgeTrailer(page, ref.id.value);
  if (!JudgeFormat(page, level)) return;
  if (page.info.level > 0) {
    Children(page, high);
  } else {
    Entries(page, high);
  }
}

void Walker::Children(const Visited& page, std::uint64_t high) {
  std::optional<std::uint64_t> before;
  for (unsigned i = 0; i < page.info.count; ++i) {
    const std::uint64_t key = Key(page, i);
    const std::uint64_t next = i + 1 < page.info.count ? Key(page, i + 1) : high;
    if (before && key <= *before) {
      Fault(codes::kTreeOrder, page.offset,
            Say("key ", Hex{key}, " follows ", Hex{*before}, "; its child is left out"));
      continue;
    }
    if (key >= high) {
      Fault(codes::kTreeKey, page.offset,
            Say("key ", Hex{key}, " reaches into the next page's range, ", Hex{high}));
      continue;
    }
    before = key;
    Page(LoadTreeChild(Entry(page, i)), page.info.level - 1, key, next > key ? next : high);
  }
}

void Walker::Entries(const Visited& page, std::uint64_t high) {
  for (unsigned i = 0; i < page.info.count; ++i) {
    const std::uint64_t key = Key(page, i);
    if (_last && key <= *_last) {
      Fault(codes::kTreeOrder, page.offset, Say("key ", Hex{key}, " follows ", Hex{*_last}));
      continue;
    }
    if (key >= high) {
      Fault(codes::kTreeKey, page.offset,
            Say("key ", Hex{key}, " reaches into the next page's range, ", Hex{high}));
      continue;
    }
    _last = key;
    const auto entry = Entry(page, i);
    if (_kind == TreeKind::kBlocks) {
      _visitor.OnBlock(BlockRecord::Decode(entry));
    } else if (key >> 32 != 0) {
      Fault(codes::kNodeEntry, page.offset, Say("node id ", Hex{key}, " has its high half set"));
    } else {
      _visitor.OnNode(DecodeNode(entry));
    }
  }
}

}  // namespace

void WalkTree(Image& image, TreeKind kind, TreeVisitor& visitor, Reporter* judge) {
  Walker(image, kind, visitor, judge).Run();
}

}  // namespace parvane::pstfile::check
