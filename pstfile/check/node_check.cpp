#include "pstfile/check/node_check.h"

#include <algorithm>
#include <string>

#include "pstfile/check/tree_walk.h"

namespace parvane::pstfile::check {
namespace {

bool IsFolderKind(NodeKind kind) {
  return kind == NodeKind::kFolder || kind == NodeKind::kSearchFolder;
}
bool IsMessageKind(NodeKind kind) {
  return kind == NodeKind::kMessage || kind == NodeKind::kAssociatedMessage;
}

// The tree of nodes is walked twice: a node may stand before its parent, and whether that is a
// folder must be known by then.
class FolderCollector : public TreeVisitor {
 public:
  explicit FolderCollector(FolderDirectory& folders) : _folders(folders) {}
  void OnNode(const NodeRecord& node) override {
    if (IsFolderKind(node.nid.Kind())) _folders.Add({node.nid, node.parent});
  }

 private:
  FolderDirectory& _folders;
};

class NodeCheck : public TreeVisitor {
 public:
  NodeCheck(Image& image, Reporter& reporter, FolderDirectory& folders, Survey& survey)
      : _image(image), _reporter(reporter), _folders(folders), _survey(survey) {}

  void OnPage(TreeKind, std::uint64_t offset) override { _survey.OnPage(offset); }

  void OnNode(const NodeRecord& node) override {
    ++_reporter.summary().nodes;
    _survey.OnNode(node);
    const NodeKind kind = node.nid.Kind();
    if (node.sub && !node.sub.IsInternal()) {
      Fault(codes::kNodeEntry, node,
            Say("its subnodes are in block ", node.sub, ", which is no internal block"));
    }
    if (kind == NodeKind::kHeapItem) {
      Fault(codes::kNodeEntry, node, "its kind is that of a heap item");
    }
    CheckParent(node);
    const std::uint32_t counter = _image.header().counters[node.nid.value & 31];
    // Ids below these were never drawn from the counters.
    const std::uint32_t fixed = kind == NodeKind::kSearchFolder        ? 0x4000
                                : kind == NodeKind::kMessage           ? 0x10000
                                : kind == NodeKind::kAssociatedMessage ? 0x8000
                                                                       : 0x400;
    if (node.nid.Index() >= fixed && node.nid.Index() > counter) {
      Fault(codes::kNodeCounter, node,
            Say("index ", Hex{node.nid.Index()}, " is above the header's counter ", Hex{counter}));
    }
    if (kind == NodeKind::kHierarchyTable || kind == NodeKind::kContentsTable ||
        kind == NodeKind::kAssociatedContentsTable) {
      const bool isTemplate = node.nid.Index() == kNidContentsTableTemplate.Index();
      if (!isTemplate && _folders.complete() &&
          _folders.Find(node.nid.Sibling(NodeKind::kFolder)) == nullptr &&
          _folders.Find(node.nid.Sibling(NodeKind::kSearchFolder)) == nullptr) {
        Fault(codes::kTableWithoutFolder, node, "a folder's table without its folder");
      }
    }
  }

 private:
  void Fault(codes::Code code, const NodeRecord& node, const std::string& what) {
    _reporter.Error(code, Say("node ", node.nid, ": ", what));
  }

  // Counts what each folder has by the parents that nodes name, for comparison with its tables
  // later (folder_check): some readers build the tree from one, some from the other.
  void CheckParent(const NodeRecord& node) {
    const NodeKind kind = node.nid.Kind();
    const bool isFolder = IsFolderKind(kind);
    if (!isFolder && !IsMessageKind(kind)) {
      if (node.parent && !_image.FindNode(node.parent)) {
        Fault(codes::kNodeParent, node, Say("its parent ", node.parent, " does not exist"));
      }
      return;
    }
    FolderFacts* parent = _folders.Find(node.parent);
    if (parent == nullptr) {
      if (_folders.complete()) {
        Fault(codes::kNodeParent, node,
              Say("its parent ", node.parent,
                  _image.FindNode(node.parent) ? " is no folder" : " does not exist"));
      }
      return;
    }
    if (!isFolder && node.parent.Kind() == NodeKind::kSearchFolder) {
      Fault(codes::kNodeParent, node,
            Say("a message whose parent ", node.parent, " is a search folder"));
    }
    if (isFolder) {
      if (node.nid == kNidRootFolder) {
        if (node.parent != kNidRootFolder) {
          Fault(codes::kNodeParent, node,
                Say("the root folder's parent is ", node.parent, ", expected itself"));
        }
        return;
      }
      ++parent->folders;
    } else {
      ++(kind == NodeKind::kMessage ? parent->messages : parent->hidden);
    }
  }

  Image& _image;
  Reporter& _reporter;
  FolderDirectory& _folders;
  Survey& _survey;
};

// A folder's chain of parents must end at the root. Each chain is followed only up to a folder
// already known to be in or out, so all together cost one step a folder.
void CheckReachability(FolderDirectory& folders, Reporter& reporter) {
  enum : std::uint8_t { kUnknown, kOnPath, kReached, kLost };
  const auto& all = folders.all();
  std::vector<std::uint8_t> state(all.size(), kUnknown);
  std::vector<std::size_t> path;
  for (std::size_t i = 0; i < all.size(); ++i) {
    std::size_t at = i;
    path.clear();
    std::uint8_t verdict = kUnknown;
    while (verdict == kUnknown) {
      if (state[at] == kOnPath) {
        verdict = kLost;  // a ring
      } else if (state[at] != kUnknown) {
        verdict = state[at];
      } else {
        state[at] = kOnPath;
        path.push_back(at);
        if (all[at].nid == kNidRootFolder) {
          verdict = kReached;
        } else if (const FolderFacts* parent = folders.Find(all[at].parent)) {
          at = static_cast<std::size_t>(parent - all.data());
        } else {
          verdict = kLost;
        }
      }
    }
    for (const std::size_t step : path) state[step] = verdict;
  }
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (state[i] == kReached) continue;
    reporter.Error(codes::kFolderUnreachable,
                   Say("folder ", all[i].nid, ": its parents do not lead to the root folder"));
  }
}

void CheckMandatory(Image& image, Reporter& reporter) {
  // Every known file of Outlook has these; it has the others, too, but nothing looks them up.
  static constexpr NodeId kRequired[] = {
      kNidMessageStore,
      kNidNameToIdMap,
      kNidRootFolder,
      kNidRootFolder.Sibling(NodeKind::kHierarchyTable),
      kNidRootFolder.Sibling(NodeKind::kContentsTable),
      kNidRootFolder.Sibling(NodeKind::kAssociatedContentsTable),
      kNidSearchManagementQueue,
      kNidSearchActivityList,
      kNidSearchDomainObject,
      kNidHierarchyTableTemplate,
      kNidContentsTableTemplate,
      kNidAssociatedContentsTableTemplate,
      kNidSearchContentsTableTemplate,
      kNidAttachmentTable,
      kNidRecipientTable,
  };
  static constexpr NodeId kExpected[] = {
      kNidReceiveFolderTable,     kNidOutgoingQueueTable,         kNidChangeHistoryTableTemplate,
      kNidTombstoneTableTemplate, kNidTombstoneDateTableTemplate,
  };
  for (const NodeId nid : kRequired) {
    if (!image.FindNode(nid)) {
      reporter.Error(codes::kNodeMissing, Say("node ", nid, ", which every store has, is missing"));
    }
  }
  for (const NodeId nid : kExpected) {
    if (!image.FindNode(nid)) {
      reporter.Warning(codes::kNodeMissing, Say("node ", nid, ", usual in a store, is missing"));
    }
  }
}

}  // namespace

bool FolderDirectory::Add(const FolderFacts& facts) {
  if (_folders.size() == kMaximum) {
    _complete = false;
    return false;
  }
  _folders.push_back(facts);
  return true;
}

FolderFacts* FolderDirectory::Find(NodeId nid) {
  // Messages of a folder mostly come one behind the other.
  if (_lastFound < _folders.size() && _folders[_lastFound].nid == nid) return &_folders[_lastFound];
  const auto found = std::lower_bound(
      _folders.begin(), _folders.end(), nid,
      [](const FolderFacts& folder, NodeId sought) { return folder.nid < sought; });
  if (found == _folders.end() || found->nid != nid) return nullptr;
  _lastFound = static_cast<std::size_t>(found - _folders.begin());
  return &*found;
}

FolderDirectory CheckNodes(Image& image, Reporter& reporter, Survey& survey) {
  FolderDirectory folders;
  FolderCollector collector(folders);
  WalkTree(image, TreeKind::kNodes, collector, nullptr);
  NodeCheck check(image, reporter, folders, survey);
  WalkTree(image, TreeKind::kNodes, check, &reporter);
  if (folders.complete()) {
    CheckReachability(folders, reporter);
  } else {
    reporter.Warning(codes::kLimit, Say("more than ", FolderDirectory::kMaximum,
                                        " folders: their hierarchy is checked in part only"));
  }
  CheckMandatory(image, reporter);
  return folders;
}

}  // namespace parvane::pstfile::check
