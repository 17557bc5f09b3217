// What is looked at before mail is added to a PST: the way to where it goes.
//
// Header, store object, name map, the root folder, the top of the visible folders and every folder
// below it, with their tables; of the tables of contents the description, the heap and the index,
// but neither the cells of their rows nor the messages. Damaged mail elsewhere does not keep new
// mail out. Of files up to kExaminedSize all pages of both B-trees and the allocation maps as well:
// larger ones are added to at their end, and their maps made anew when they are found damaged at
// Close.
//
// Cost. A block is read when it is on the way: some 400 bytes for each message the folders list, a
// few KB for each folder, and the B-tree pages that lead there. The mail itself is not read.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "pstfile/check/context.h"
#include "pstfile/check/header_check.h"
#include "pstfile/check/image.h"
#include "pstfile/check/integrity_checker.h"
#include "pstfile/check/name_map_check.h"
#include "pstfile/check/property_check.h"
#include "pstfile/check/reporter.h"
#include "pstfile/check/space_check.h"
#include "pstfile/check/store_check.h"
#include "pstfile/check/table_check.h"
#include "pstfile/check/tree_walk.h"
#include "pstfile/ndb/block_format.h"
#include "pstfile/ndb/page.h"

namespace parvane::pstfile {
namespace {

using namespace check;
using platform::Status;
using platform::StatusCode;

constexpr std::uint64_t kExaminedSize = std::uint64_t{256} << 20;

class FirstError : public FindingSink {
 public:
  void OnFinding(const Finding& finding) override {
    // What every writer sets anew does no harm.
    const bool renewed = finding.code == codes::kLastMap || finding.code == codes::kDensityList;
    if (message.empty() && finding.severity == Severity::kError && !renewed) {
      message = finding.message;
    }
  }
  std::string message;
};

// Judges every page and block that the other checks read.
class WayJudge : public ReadJudge {
 public:
  WayJudge(Image& image, Reporter& reporter) : _image(image), _reporter(reporter) {}

  void OnPageRead(std::uint64_t offset, const PageBytes& page) override {
    const auto type =
        static_cast<PageType>(LoadField<std::uint8_t>(page, fields::PageTrailer::kType));
    if (type != PageType::kBlockTree && type != PageType::kNodeTree) {
      _reporter.Error(codes::kPageType, Say("page at ", Hex{offset}, ": no page of a B-tree"));
      return;
    }
    Judge(codes::kPageCrc, CheckPage(page, type, FileOffset(offset),
                                     LoadField<std::uint64_t>(page, fields::PageTrailer::kId)));
  }
  void OnBlockRead(const BlockRecord& entry) override {
    const auto bytes =
        _image.ReadNear(entry.place.offset.value, BlockSizeOnDisk(entry.place.dataSize));
    if (!bytes) {
      _reporter.Error(codes::kBlockPlace,
                      Say("block ", entry.bid, " at ", Hex{entry.place.offset.value},
                          ": lies outside the file, or cannot be read"));
      return;
    }
    Judge(codes::kBlockCrc, CheckBlock(*bytes, entry.bid, entry.place));
  }
  void OnMissing(BlockId bid) override {
    _reporter.Error(codes::kDanglingReference, Say("block ", bid, " is not in the block B-tree"));
  }

 private:
  void Judge(codes::Code code, const Status& status) {
    if (!status.ok()) _reporter.Error(code, status.message());
  }

  Image& _image;
  Reporter& _reporter;
};

class WayCheck {
 public:
  explicit WayCheck(Context& context) : _context(context) {}

  void Run() {
    CheckNameMap(_context);
    CheckStoreObject(_context);
    const NodeId top = TopFolder();
    const auto root = Find(kNidRootFolder);
    if (root) CheckFolder(*root);
    if (top == kNidRootFolder) return;
    const auto start = Find(top);
    if (!start) return;
    if (start->parent == kNidRootFolder && std::ranges::find(_below, top) == _below.end()) {
      _context.reporter.Error(codes::kFolderUnlisted,
                              Say("folder ", top, " is not in the table of ", kNidRootFolder));
    }
    // What else is below the root folder takes no mail.
    for (_below.assign(1, top); !_below.empty();) {
      const NodeId nid = _below.back();
      _below.pop_back();
      if (const auto folder = Find(nid)) CheckFolder(*folder);
    }
  }

 private:
  NodeId TopFolder() {
    const auto node = Find(kNidMessageStore);
    if (!node) return kNidRootFolder;
    auto store = PropertyContext::Open(_context, {node->data, node->sub}, "message store");
    const auto id = store ? store->Bytes(tags::kIpmSubtreeEntryId) : std::nullopt;
    return id && id->size() == 24 ? NodeId(LoadU32(*id, 20)) : kNidIpmSubtree;
  }

  std::optional<NodeRecord> Find(NodeId nid) {
    auto node = _context.image.FindNode(nid);
    if (!node) _context.reporter.Error(codes::kNodeMissing, Say("node ", nid, " is missing"));
    return node;
  }

  void CheckFolder(const NodeRecord& folder) {
    const std::string where = Say("folder ", folder.nid);
    CheckPropertyContext(_context, {folder.data, folder.sub}, where);
    OpenTable(folder.nid.Sibling(NodeKind::kContentsTable), where + ", contents table");
    OpenTable(folder.nid.Sibling(NodeKind::kAssociatedContentsTable),
              where + ", associated contents table");
    auto table =
        OpenTable(folder.nid.Sibling(NodeKind::kHierarchyTable), where + ", hierarchy table");
    if (!table) return;
    table->ForEachRow([&](std::span<const std::byte> row) {
      const NodeId nid(Table::RowId(row));
      if (nid.Kind() == NodeKind::kSearchFolder) return;
      const auto child = _context.image.FindNode(nid);
      // A folder has one parent, so that none is met twice but in a table that lists it twice.
      if (!child || nid.Kind() != NodeKind::kFolder || child->parent != folder.nid ||
          nid == folder.nid || !_met.insert(nid.value).second) {
        _context.reporter.Error(codes::kFolderRow, Say(where, ": its table lists ", nid,
                                                       ", which is no folder below it, or twice"));
      } else {
        _below.push_back(nid);
      }
    });
  }

  std::unique_ptr<Table> OpenTable(NodeId nid, const std::string& where) {
    const auto node = Find(nid);
    return node ? Table::Open(_context, {node->data, node->sub}, where) : nullptr;
  }

  Context& _context;
  std::vector<NodeId> _below;
  std::unordered_set<std::uint32_t> _met;
};

}  // namespace

Status CheckBeforeAppend(platform::FileSystem& files, std::u16string_view path) {
  auto opened = Image::Open(files, path);
  if (!opened.ok()) return opened.status();
  Image& image = **opened;
  FirstError first;
  CheckSummary summary;
  const CheckOptions options{.findingsPerCode = 1, .acceptUnclosed = true};
  Reporter reporter(options, first, summary);
  CheckHeader(image, reporter);
  WayJudge judge(image, reporter);
  image.SetJudge(&judge);
  if (first.message.empty() && image.size() <= kExaminedSize) {
    TreeVisitor nothing;
    WalkTree(image, TreeKind::kBlocks, nothing, &reporter);
    WalkTree(image, TreeKind::kNodes, nothing, &reporter);
    if (first.message.empty()) CheckSpace(image, reporter, nullptr);
  }
  if (first.message.empty()) {
    FolderDirectory none;
    Context context{image, reporter,    none, 100'000 + image.size() / kBlockAlignment,
                    {},    std::nullopt};
    WayCheck(context).Run();
  }
  if (!image.readStatus().ok()) return image.readStatus();
  if (first.message.empty()) return {};
  return {StatusCode::kCorrupt, first.message};
}

}  // namespace parvane::pstfile
