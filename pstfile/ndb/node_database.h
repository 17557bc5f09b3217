// The lowest storey of a PST: nodes and blocks, kept safe by copy on write.
//
// A node is three ids: its data (a data tree), its subnodes (a subnode tree) and its parent. Blocks
// hold at most 8176 bytes each and never change once written. What a node "holds" changes by
// writing new blocks and putting their ids into the node.
//
//   database := header, node B-tree (nid -> node), block B-tree (bid -> place, size, references)
//
// Transactions. Everything written since the last Commit is one open transaction. Commit makes it
// durable as a whole; a crash at any instant leaves a file that opens with exactly what was last
// committed. New blocks and pages go only to space that the last committed state does not use;
// Commit writes pages, flushes, writes the header, flushes. There is no rollback of a part: blocks
// that turn out not to be wanted are abandoned one by one (AbandonBlock), nodes are put back.
//
// Ownership of blocks. A new block (or the root of a new tree) is *loose*: it belongs to the caller
// and is not in the committed file, although a Commit in between leaves it usable. It becomes part
// of the file when it is put somewhere that is part of the file: into a node (PutNode), or into an
// entry of an internal block that is itself put into a node. References are then counted by this
// class alone, callers never count:
//
//   - WriteBlock, DataTreeWriter::Finish, SubnodeTreeBuilder::Finish ... return a loose root. Do
//     exactly one of: put it (into a node, a subnode entry, ...) or AbandonBlock it.
//   - PutNode(nid, data, sub, parent) refers to data and sub, and drops the references of what it
//     replaces. The last reference dropped frees the block and drops what the block refers to.
//   - To share a block, put its id in a second node or subnode entry. Ask CanShare first.
//   - A loose internal block owns its loose children: abandoning it abandons them.
//   - Dropped blocks of this transaction are gone at once; blocks that the last commit holds stay
//     readable until the next commit. So put the new place of a block before dropping the old one.
//
// Nothing is written to an opened file before the first modification, and until then no lock is
// held. The first modification locks the file (kLocked when another holds it), marks it as being
// changed and flushes. Opening costs the header and a few pages.
//
// What the header of an opened file tells is checked against what the file holds before anything is
// added: ids begin above all that are in use, and a file that lost its end is refused (kCorrupt).
//
// Failure. After the first failed write or flush every modification fails with that status
// (status()), and the file keeps what was committed. When the disk has no room for the file to
// grow, WriteBlock fails with kDiskFull, but what is complete can still be committed: space for
// the commit itself, and for KeepForCommit bytes of blocks, is always held back. After that commit
// the database accepts nothing more.
//
// Not thread-safe. One database object a file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/file.h"
#include "platform/status.h"
#include "pstfile/ndb/block_slice.h"
#include "pstfile/ndb/encoding.h"
#include "pstfile/ndb/ids.h"

namespace parvane::pstfile {

// An entry of the node B-tree.
struct NodeRecord {
  NodeId nid;
  BlockId data;   // 0: no data
  BlockId sub;    // 0: no subnodes
  NodeId parent;  // folders and messages: their folder (the root folder: itself); others 0
  friend bool operator==(const NodeRecord&, const NodeRecord&) = default;
};

enum class OpenMode { kRead, kReadWrite };

struct OpenOptions {
  // A file is never made larger; WriteBlock fails with kDiskFull before that. Unlike a full disk
  // this does not latch: smaller things may still fit.
  std::uint64_t sizeLimit = std::uint64_t{50} << 30;
  // The first modification of a file up to this size walks its B-trees (a few MB at most), and so
  // finds all space that is free and all ids that are. Larger files are added to at their end; only
  // space freed by the session itself is used again.
  std::uint64_t examinedSize = std::uint64_t{256} << 20;
};

struct CreateOptions {
  CryptMethod crypt = CryptMethod::kPermute;
  // Publish replaces a file already at the path; otherwise that is kExists.
  bool replace = false;
  // The file is there, empty, and is filled where it stands: for callers who have made it and hold
  // it. Until Publish is done it is no PST; it is empty again when creation fails.
  bool inPlace = false;
  bool unfinished = false;  // carries the mark of unfinished.h
  OpenOptions open;
};

class NodeDatabase {
 public:
  // Opens `path`. Fails with kNotFound, kAccessDenied ... as the file system does, kUnsupported for
  // files of another kind or version (the message says which), kCorrupt for damaged ones.
  static platform::Result<std::unique_ptr<NodeDatabase>> Open(platform::FileSystem& files,
                                                              std::u16string_view path,
                                                              OpenMode mode,
                                                              const OpenOptions& options = {});

  // Starts a file without any node, under a temporary name beside `path` that is nobody else's. Put
  // the first nodes, then Publish. Destroying the database unpublished removes the temporary file.
  static platform::Result<std::unique_ptr<NodeDatabase>> Create(platform::FileSystem& files,
                                                                std::u16string_view path,
                                                                const CreateOptions& options = {});

  ~NodeDatabase();
  NodeDatabase(const NodeDatabase&) = delete;
  NodeDatabase& operator=(const NodeDatabase&) = delete;

  // Gives the created file its name: commits, completes, flushes, renames, flushes the folder.
  // Afterwards the database stands as if just opened for writing. No loose block may be left.
  platform::Status Publish();

  // Makes the open transaction durable. Does nothing when nothing changed. Loose blocks stay loose.
  platform::Status Commit();

  // Commits, writes the true allocation maps, cuts the file to the fewest whole intervals and marks
  // it complete. A file that was never modified is not touched. Loose blocks are abandoned.
  // The database is of no use afterwards. Destroying it without Close loses the open transaction
  // and leaves the maps to be rebuilt by the next writer.
  platform::Status Close();

  // ok, or why every modification now fails.
  const platform::Status& status() const;
  // Gives the open transaction up, for callers that failed half way through a change of theirs:
  // nothing of it is committed any more, by Close neither, and every modification fails with `why`.
  void GiveUp(const platform::Status& why);
  // Does at once what the first modification does: locks the file, marks it as being changed.
  // Fails with kAccessDenied when opened for reading.
  platform::Status PrepareToModify();

  const std::u16string& path() const;  // the name asked for, not the temporary one
  CryptMethod crypt() const;
  bool mapsWereRebuilt() const;    // by this object, at Close or at the first modification
  bool sizeLimitReached() const;   // a write failed with kDiskFull for OpenOptions::sizeLimit
  std::uint64_t FileSize() const;  // as the last committed header tells
  std::uint32_t Unique() const;    // dwUnique of the last header written: row versions

  // ---- Nodes ----------------------------------------------------------------------------------

  platform::Result<std::optional<NodeRecord>> FindNode(NodeId nid) const;
  // Adds or replaces a node. See "Ownership of blocks" above.
  platform::Status PutNode(const NodeRecord& record);
  // kNotFound when there is none.
  platform::Status DeleteNode(NodeId nid);
  // The next id of a kind. Folders and search folders take their tables' numbers along, so
  // Sibling() of the result is free too. kTooBig after 2^27 ids.
  platform::Result<NodeId> AllocateNodeId(NodeKind kind);
  // Makes sure that ids up to and including `nid` are not handed out.
  platform::Status ReserveNodeId(NodeId nid);

  // ---- Blocks ---------------------------------------------------------------------------------
  // Trees of blocks are written and read through data_tree.h and subnode_tree.h; these calls are
  // for single blocks and for those trees.

  // A new external block of 1 to 8176 bytes: loose, encoded as the file is. The bytes are copied.
  platform::Result<BlockId> WriteBlock(std::span<const std::byte> bytes);
  // A new internal block; `bytes` is a whole XBLOCK, XXBLOCK, SLBLOCK or SIBLOCK.
  platform::Result<BlockId> WriteInternalBlock(std::span<const std::byte> bytes);
  // The decoded bytes of a block, checked against its trailer.
  platform::Result<BlockSlice> ReadBlock(BlockId bid) const;
  // Bytes of data without reading the block itself.
  platform::Result<std::size_t> BlockDataSize(BlockId bid) const;
  // Frees a loose block and the loose blocks below it. Blocks that are part of the file are left
  // alone, so this is always safe for a root the caller has not put. 0 is allowed.
  void AbandonBlock(BlockId bid);
  // Frees a loose block alone; what it refers to stays. For editors that rewrite internal blocks.
  void AbandonBlockOnly(BlockId bid);
  bool IsLoose(BlockId bid) const;
  // Whether one more reference fits the 16-bit count; when not, write a copy of the data instead.
  platform::Result<bool> CanShare(BlockId bid) const;

  // ---- When to commit -------------------------------------------------------------------------

  // Bytes of blocks written since the last commit, as on disk.
  std::uint64_t TransactionBytes() const;
  // Bytes of blocks, ends and padding included, that can surely be written before the file reaches
  // its size limit, with everything that a commit then needs. What is written meanwhile is taken
  // off, committed or not; a full disk is not foreseen.
  std::uint64_t RoomLeft() const;
  // Holds `bytes` of file space back from WriteBlock, for blocks that must still be written when
  // the disk turns out full (tails of tables). Set it to 0 just before writing those, and back
  // after the Commit.
  void KeepForCommit(std::uint64_t bytes);

 private:
  class Impl;
  explicit NodeDatabase(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> _impl;
};

}  // namespace parvane::pstfile
