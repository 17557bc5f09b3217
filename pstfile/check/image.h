// A PST file as the checker sees it: bytes at offsets, a header, two B-trees, blocks.
//
// Nothing here judges. What cannot be read is absent (none, false); the checks that walk the trees
// and blocks say why. Every place and size taken from the file is checked before it is used.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/file.h"
#include "platform/status.h"
#include "pstfile/check/read_windows.h"
#include "pstfile/ndb/block_slice.h"
#include "pstfile/ndb/header.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/page.h"
#include "pstfile/ndb/tree_entries.h"

namespace parvane::pstfile::check {

enum class TreeKind { kBlocks, kNodes };

constexpr PageType PageTypeOf(TreeKind kind) {
  return kind == TreeKind::kBlocks ? PageType::kBlockTree : PageType::kNodeTree;
}

// Is told of everything an Image reads for the first time, or again after forgetting it.
class ReadJudge {
 public:
  virtual ~ReadJudge() = default;
  virtual void OnPageRead(std::uint64_t offset, const PageBytes& page) = 0;
  virtual void OnBlockRead(const BlockRecord& entry) = 0;
  virtual void OnMissing(BlockId bid) = 0;  // asked for and not in the tree
};

class Image {
 public:
  // kUnsupported and kCorrupt as CheckFile says.
  static platform::Result<std::unique_ptr<Image>> Open(platform::FileSystem& files,
                                                       std::u16string_view path);

  std::uint64_t size() const { return _size; }
  const FileHeader& header() const { return _header; }
  // Goes on with another header than the one at offset 0.
  void UseHeader(const FileHeader& header) {
    _header = header;
    _ways = {};
  }
  // For checks that read a part of the file only; null for none.
  void SetJudge(ReadJudge* judge) { _judge = judge; }
  // The first read error, if any: the file could not be examined to its end.
  const platform::Status& readStatus() const { return _readStatus; }

  // False when the range is not wholly inside the file or cannot be read.
  bool Read(std::uint64_t offset, std::span<std::byte> bytes);
  // The same for at most a block's bytes, by way of a large buffer that goes through the file: for
  // all blocks in the order of their ids. The bytes are the caller's until the next call.
  std::optional<std::span<const std::byte>> ReadAhead(std::uint64_t offset, std::size_t size);
  // And by way of another one, for blocks that belong together.
  std::optional<std::span<const std::byte>> ReadNear(std::uint64_t offset, std::size_t size);
  // A page by way of a small cache. Offsets that are not a page's place are refused.
  const PageBytes* Page(std::uint64_t offset);

  std::optional<BlockRecord> FindBlock(BlockId bid);
  std::optional<NodeRecord> FindNode(NodeId nid);

  // The decoded data of a block; none when it is not in the tree or its place is impossible.
  std::optional<BlockSlice> ReadBlock(BlockId bid);
  std::optional<BlockSlice> ReadBlock(const BlockRecord& entry);
  // Bytes of data below a root, as the root itself tells. 0 for none or unreadable.
  std::uint64_t DataSize(BlockId root);

 private:
  Image();
  // The leaf in which the search for an entry ends, and the keys that lead there: every comparison
  // on the way comes out the same for all of them, however damaged the pages are.
  struct Way {
    std::uint64_t leaf = 0;
    std::uint64_t low = 1;
    std::uint64_t high = 0;    // not below it
    std::size_t count = 0;     // of the leaf's entries
    std::size_t next = 0;      // behind the entry found last
    bool isAscending = false;  // so that an entry of the right key is the one
  };
  bool FindLeaf(TreeKind kind, std::uint64_t key, Way& way);
  std::optional<std::span<const std::byte>> FindEntry(TreeKind kind, std::uint64_t key);

  struct CachedBlock {
    BlockId bid;
    BlockSlice slice;
  };

  std::unique_ptr<platform::RandomAccessFile> _file;
  std::uint64_t _size = 0;
  FileHeader _header;
  platform::Status _readStatus;
  ReadJudge* _judge = nullptr;
  std::vector<std::uint64_t> _pageOffsets;  // of what is in each place; 0 for nothing
  std::unique_ptr<PageBytes[]> _pages;
  std::vector<CachedBlock> _blocks;
  ReadWindows _ahead;
  ReadWindows _near;
  ReadWindows _pageReads;
  std::array<Way, 2> _ways;  // the last search's, by kind of tree
};

}  // namespace parvane::pstfile::check
