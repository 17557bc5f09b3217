#include "pstfile/check/folder_check.h"

#include <memory>
#include <optional>
#include <string>

#include "pstfile/check/message_check.h"
#include "pstfile/check/property_check.h"
#include "pstfile/check/row_compare.h"
#include "pstfile/check/table_check.h"
#include "pstfile/check/tree_walk.h"

namespace parvane::pstfile::check {
namespace {

constexpr PropTag kAssociatedContentCount{0x36170003};
constexpr PropTag kSearchRowFolder{0x67F10003};
constexpr std::uint64_t kFlagRead = 1;
// The search over all messages of Outlook 2007 to 2010, with a kind of table of its own.
constexpr NodeId kAllMessagesSearch{0x723};

class SilentSink : public FindingSink {
 public:
  void OnFinding(const Finding&) override {}
};

// Walks all nodes of the file for one folder, so only so many folders get it (`_searches`); of the
// others the number is told.
// Names the nodes of a kind that call a folder their parent and that its table does not list.
class UnlistedFinder : public TreeVisitor {
 public:
  UnlistedFinder(NodeId folder, bool folders, NodeKind kind, Table& table, Reporter& reporter)
      : _folder(folder), _folders(folders), _kind(kind), _table(table), _reporter(reporter) {}

  void OnNode(const NodeRecord& node) override {
    if (node.parent != _folder || node.nid == _folder) return;
    const NodeKind kind = node.nid.Kind();
    if (_folders ? kind != NodeKind::kFolder && kind != NodeKind::kSearchFolder : kind != _kind) {
      return;
    }
    if (_table.HasRow(node.nid.value)) return;
    _reporter.Error(_folders ? codes::kFolderUnlisted : codes::kMessageUnlisted,
                    Say(_folders ? "folder " : "message ", node.nid, " is not in the table of ",
                        _folder, ", its parent"));
  }

 private:
  NodeId _folder;
  bool _folders;
  NodeKind _kind;
  Table& _table;
  Reporter& _reporter;
};

}  // namespace

class FolderChecker::FolderCheck {
 public:
  FolderCheck(Context& context, const NodeRecord& node, int& searches)
      : _context(context),
        _reporter(context.reporter),
        _node(node),
        _where(Say("folder ", node.nid)),
        _searches(searches) {}

  void Run() {
    auto pc = PropertyContext::Open(_context, {_node.data, _node.sub}, _where);
    if (pc) JudgeProperties(*pc);
    _pc = pc ? &*pc : nullptr;
    if (_node.nid.Kind() == NodeKind::kFolder) {
      ++_reporter.summary().folders;
      CheckHierarchy();
      CheckContents();
      CheckAssociated();
    } else if (_node.nid != kAllMessagesSearch) {
      CheckSearch();
    }
    if (pc) pc->Finish();
  }

 private:
  void Error(codes::Code code, const std::string& what) {
    _reporter.Error(code, _where + ": " + what);
  }

  void JudgeProperties(PropertyContext& pc) {
    struct Required {
      PropTag tag;
      const char* name;
    };
    static constexpr Required kRequired[] = {{tags::kDisplayName, "name"},
                                             {tags::kContentCount, "number of messages"},
                                             {tags::kContentUnreadCount, "number of unread"},
                                             {tags::kSubfolders, "has subfolders"}};
    for (const Required& required : kRequired) {
      if (pc.Has(required.tag.Id())) continue;
      const std::string what =
          Say("property ", ToString(required.tag), " (", required.name, ") is missing");
      if (required.tag == tags::kDisplayName) {
        Error(codes::kFolderProperty, what);
      } else {
        _reporter.Habit(codes::kFolderProperty, _where + ": " + what);
      }
    }
  }

  void JudgeCount(PropTag tag, std::uint64_t expected, const char* what) {
    const auto found = _pc != nullptr ? _pc->Number(tag) : std::nullopt;
    if (found && *found != expected) {
      Error(codes::kFolderCount, Say("property ", ToString(tag), " tells ", *found,
                                     ", its table has ", expected, " ", what));
    }
  }

  // One of the folder's companion nodes.
  std::optional<NodeRecord> Companion(NodeKind kind) {
    const NodeId nid = _node.nid.Sibling(kind);
    auto entry = _context.image.FindNode(nid);
    if (!entry) Error(codes::kFolderTable, Say("node ", nid, " is missing"));
    return entry;
  }
  std::unique_ptr<Table> OpenTable(NodeKind kind, const char* name) {
    const auto entry = Companion(kind);
    if (!entry) return nullptr;
    return Table::Open(_context, {entry->data, entry->sub}, Say(name, " table of ", _node.nid));
  }

  const FolderFacts& Facts() {
    static const FolderFacts kNone{};
    const FolderFacts* facts = _context.folders.Find(_node.nid);
    return facts != nullptr ? *facts : kNone;
  }

  void JudgeListed(Table& table, std::uint64_t listed, std::uint64_t existing, bool folders,
                   NodeKind kind) {
    if (listed >= existing || !_context.folders.complete()) return;
    const codes::Code code = folders ? codes::kFolderUnlisted : codes::kMessageUnlisted;
    if (_searches > 0 && _reporter.Wants(code)) {
      --_searches;
      UnlistedFinder finder(_node.nid, folders, kind, table, _reporter);
      WalkTree(_context.image, TreeKind::kNodes, finder, nullptr);
    } else {
      Error(code, Say(existing - listed, " nodes that call it their parent are not in its table"));
    }
  }

  void CheckHierarchy();
  void CompareSubfolder(Table& table, std::span<const std::byte> row, const NodeRecord& child);
  void CheckContents();
  void CheckAssociated();
  // Returns the number of rows that stand for a message of this folder.
  std::uint64_t CheckMessages(Table& table, MessageKind kind, std::uint64_t& unread);
  void CheckSearch();

  Context& _context;
  Reporter& _reporter;
  const NodeRecord& _node;
  std::string _where;
  int& _searches;
  PropertyContext* _pc = nullptr;
};

void FolderChecker::FolderCheck::CheckHierarchy() {
  auto table = OpenTable(NodeKind::kHierarchyTable, "hierarchy");
  if (!table) return;
  std::uint64_t listed = 0;
  table->ForEachRow([&](std::span<const std::byte> row) {
    const NodeId nid(Table::RowId(row));
    const auto child = _context.image.FindNode(nid);
    if (!child || (nid.Kind() != NodeKind::kFolder && nid.Kind() != NodeKind::kSearchFolder) ||
        nid == _node.nid) {
      Error(codes::kFolderRow, Say("its table lists ", nid, ", which is no folder below it"));
    } else if (child->parent != _node.nid) {
      Error(codes::kFolderRow, Say("its table lists ", nid, ", whose parent is ", child->parent));
    } else {
      ++listed;
      CompareSubfolder(*table, row, *child);
    }
  });
  JudgeListed(*table, listed, Facts().folders, true, NodeKind::kFolder);
  const auto has = _pc != nullptr ? _pc->Number(tags::kSubfolders) : std::nullopt;
  if (has && (*has != 0) != (table->rows() != 0)) {
    Error(codes::kFolderCount, Say("property 360A000B (has subfolders) is ", *has,
                                   ", its table has ", table->rows(), " rows"));
  }
  table->Finish();
}

// The subfolder's own check judges it; here it is only read.
void FolderChecker::FolderCheck::CompareSubfolder(Table& table, std::span<const std::byte> row,
                                                  const NodeRecord& child) {
  const CheckOptions options;
  SilentSink sink;
  CheckSummary summary;
  Reporter silent(options, sink, summary);
  Context quiet{_context.image, silent,       _context.folders,
                _context.work,  std::nullopt, std::nullopt};
  auto pc = PropertyContext::Open(quiet, {child.data, child.sub}, std::string());
  if (!pc) return;
  CompareRow(table, row, *pc, [&] { return Say("hierarchy row ", child.nid, " of ", _node.nid); });
}

std::uint64_t FolderChecker::FolderCheck::CheckMessages(Table& table, MessageKind kind,
                                                        std::uint64_t& unread) {
  const NodeKind expected =
      kind == MessageKind::kNormal ? NodeKind::kMessage : NodeKind::kAssociatedMessage;
  std::uint64_t listed = 0;
  table.ForEachRow([&](std::span<const std::byte> row) {
    if (kind == MessageKind::kNormal) _reporter.NodeExamined();
    ++(kind == MessageKind::kNormal ? _reporter.summary().messages
                                    : _reporter.summary().hiddenMessages);
    const auto flags = table.Number(row, tags::kMessageFlags);
    if (flags && (*flags & kFlagRead) == 0) ++unread;
    const NodeId nid(Table::RowId(row));
    const auto message = _context.image.FindNode(nid);
    if (!message || nid.Kind() != expected) {
      Error(codes::kMessageRow,
            Say("its table lists ", nid,
                message ? ", which is not a message of that kind" : ", which does not exist"));
      return;
    }
    if (message->parent != _node.nid) {
      Error(codes::kMessageRow,
            Say("its table lists ", nid, ", whose parent is ", message->parent));
    } else {
      ++listed;
    }
    auto pc = CheckMessage(_context, {message->data, message->sub}, Say("message ", nid), kind);
    if (!pc) return;
    CompareRow(table, row, *pc, [&] { return Say("contents row ", nid, " of ", _node.nid); });
  });
  return listed;
}

void FolderChecker::FolderCheck::CheckContents() {
  auto table = OpenTable(NodeKind::kContentsTable, "contents");
  if (!table) return;
  std::uint64_t unread = 0;
  const std::uint64_t listed = CheckMessages(*table, MessageKind::kNormal, unread);
  JudgeListed(*table, listed, Facts().messages, false, NodeKind::kMessage);
  JudgeCount(tags::kContentCount, table->rows(), "rows");
  JudgeCount(tags::kContentUnreadCount, unread, "unread rows");
  table->Finish();
}

void FolderChecker::FolderCheck::CheckAssociated() {
  auto table = OpenTable(NodeKind::kAssociatedContentsTable, "associated contents");
  if (!table) return;
  std::uint64_t unread = 0;
  const std::uint64_t listed = CheckMessages(*table, MessageKind::kAssociated, unread);
  JudgeListed(*table, listed, Facts().hidden, false, NodeKind::kAssociatedMessage);
  JudgeCount(kAssociatedContentCount, table->rows(), "rows");
  table->Finish();
}

void FolderChecker::FolderCheck::CheckSearch() {
  Companion(NodeKind::kSearchUpdateQueue);
  if (const auto criteria = Companion(NodeKind::kSearchCriteria); criteria && criteria->data) {
    CheckPropertyContext(_context, {criteria->data, criteria->sub},
                         Say("search criteria ", criteria->nid));
  }
  auto table = OpenTable(NodeKind::kSearchContentsTable, "search contents");
  if (!table) return;
  table->ForEachRow([&](std::span<const std::byte> row) {
    const NodeId nid(Table::RowId(row));
    const auto message = _context.image.FindNode(nid);
    if (!message ||
        (nid.Kind() != NodeKind::kMessage && nid.Kind() != NodeKind::kAssociatedMessage)) {
      Error(codes::kSearchRow, Say("its table lists ", nid, ", which is no message"));
      return;
    }
    const auto folder = table->Number(row, kSearchRowFolder);
    if (folder && *folder != message->parent.value) {
      Error(codes::kSearchRow, Say("its table has ", nid, " in folder ", Hex{*folder},
                                   ", the message is in ", message->parent));
    }
  });
  JudgeCount(tags::kContentCount, table->rows(), "rows");
  table->Finish();
}

void FolderChecker::Check(const NodeRecord& node) { FolderCheck(_context, node, _searches).Run(); }

}  // namespace parvane::pstfile::check
