// The folders in use: their counts, the index of their subfolders' names, their open tables.
//
// Changes gather here and reach the node database when Flush is called, or when a table is closed
// to make room for another. What is held is bounded: tables by number, names by number, counts by
// the folders changed since the last flush.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/status.h"
#include "pstfile/ltp/property_list.h"
#include "pstfile/ltp/table_editor.h"
#include "pstfile/ndb/node_database.h"

namespace parvane::pstfile {

// Reads all properties of an object that is to be written anew: large values are taken over as
// stored values without being read.
platform::Result<PropertyList> CopyProperties(NodeDatabase& database, const NodeRecord& node);
// Writes an object's properties and puts them into its node. The list's stored values pass on.
platform::Status ReplaceProperties(NodeDatabase& database, const NodeRecord& node,
                                   PropertyList& properties);

class FolderSet {
 public:
  struct Folder {
    NodeId node;
    NodeId parent;
    std::uint32_t messages = 0;
    std::uint32_t unread = 0;
    bool hasSubfolders = false;
    bool changed = false;  // counts differ from those in the file
    std::unique_ptr<TableEditor> tables[3];
    std::uint64_t lastUse = 0;
    bool namesKnown = false;
    std::unordered_map<std::u16string, NodeId> names;  // folded
  };

  FolderSet(NodeDatabase& database, std::size_t openTables, std::uint32_t tablePages)
      : _database(&database),
        _maxTables(openTables < 4 ? 4 : openTables),
        _tablePages(tablePages) {}

  // kNotFound when the node is no folder. The pointer holds until the next call.
  platform::Result<Folder*> Get(NodeId folder);
  // The same, with the index of its subfolders' names.
  platform::Result<Folder*> GetWithNames(NodeId folder);
  // The folder's table of a kind, open for changes. kUnsupported for search folders.
  platform::Result<TableEditor*> Table(NodeId folder, NodeKind kind);

  void CountsChanged(Folder& folder);
  // Puts the three tables of a new folder, its contents with these columns; empty tables share
  // blocks.
  platform::Status PutTables(NodeId folder, std::span<const PropTag> contents);
  // A folder was created: adds it to its parent's table and names.
  platform::Status AddCreated(NodeId folder, NodeId parent, std::u16string_view name,
                              const PropertyList& properties);
  void Renamed(NodeId folder, NodeId parent, std::u16string_view from, std::u16string_view to);

  // Brings one folder's properties, and its row in its parent's table, up to date.
  platform::Status FlushCounts(NodeId folder);
  // Brings one table's node up to date; children's counts first for the hierarchy table.
  platform::Status FlushTable(NodeId folder, NodeKind kind);
  // Everything.
  platform::Status Flush();
  // What Flush would write, roughly, for the space to be held back for it.
  std::uint64_t PendingBytes() const;

 private:
  static std::size_t Slot(NodeKind kind);
  platform::Status ReadCounts(Folder& folder, const NodeRecord& node);
  platform::Status FlushEditor(NodeId table, TableEditor& editor);
  platform::Status MakeRoomForTable();
  void DropNames();
  void DropIdle();
  platform::Result<std::unique_ptr<TableEditor>> OpenTable(NodeId table);
  platform::Result<NodeRecord> EmptyTable(NodeKind kind, std::span<const PropTag> contents);

  NodeDatabase* _database;
  std::size_t _maxTables;
  std::uint32_t _tablePages;
  std::unordered_map<NodeId, Folder> _folders;
  struct OpenedTable {
    Folder* folder;
    TableEditor* table;
  };
  std::vector<OpenedTable> _open;
  std::size_t _namesHeld = 0;
  std::size_t _dropIdleAt = 0;  // folders; they may all be in use
  std::uint64_t _clock = 0;
  std::set<std::pair<NodeId, NodeId>> _changed;  // parent and folder, of those whose counts changed
  std::optional<NodeRecord> _templates[3];
};

}  // namespace parvane::pstfile
