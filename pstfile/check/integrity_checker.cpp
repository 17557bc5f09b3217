#include "pstfile/check/integrity_checker.h"

#include <optional>

#include "pstfile/check/block_check.h"
#include "pstfile/check/context.h"
#include "pstfile/check/folder_check.h"
#include "pstfile/check/header_check.h"
#include "pstfile/check/image.h"
#include "pstfile/check/name_map_check.h"
#include "pstfile/check/node_check.h"
#include "pstfile/check/reference_check.h"
#include "pstfile/check/reporter.h"
#include "pstfile/check/space_check.h"
#include "pstfile/check/store_check.h"
#include "pstfile/check/tree_walk.h"

namespace parvane::pstfile {
namespace {

using namespace check;

class ContentCheck : public TreeVisitor {
 public:
  explicit ContentCheck(Context& context) : _context(context), _folders(context) {}

  void OnNode(const NodeRecord& node) override {
    if (node.nid.Kind() == NodeKind::kFolder || node.nid.Kind() == NodeKind::kSearchFolder) {
      _folders.Check(node);
    } else {
      CheckOtherNode(_context, node);
    }
    // A message's turn comes with its folder's rows.
    if (node.nid.Kind() != NodeKind::kMessage) _context.reporter.NodeExamined();
  }

 private:
  Context& _context;
  FolderChecker _folders;
};

}  // namespace

platform::Result<CheckSummary> CheckFile(platform::FileSystem& files, std::u16string_view path,
                                         const CheckOptions& options, FindingSink& sink) {
  auto opened = Image::Open(files, path);
  if (!opened.ok()) return opened.status();
  Image& image = **opened;
  CheckSummary summary;
  summary.fileSize = image.size();
  Reporter reporter(options, sink, summary);

  CheckHeader(image, reporter);
  Survey survey(image);
  const std::uint64_t before = summary.errors;
  const BlockTotals totals = CheckBlocks(image, reporter, survey);
  FolderDirectory folders = CheckNodes(image, reporter, survey);
  if (summary.errors != before) survey.Discard();
  CheckSpace(image, reporter, &survey);
  CheckReferences(image, reporter, survey);

  Context context{image,        reporter,
                  folders,      100'000 + 64 * totals.blocks + 4 * totals.references,
                  std::nullopt, std::nullopt};
  CheckNameMap(context);
  CheckStoreObject(context);
  ContentCheck contents(context);
  WalkTree(image, TreeKind::kNodes, contents, nullptr);

  if (!image.readStatus().ok()) return image.readStatus();
  return summary;
}

}  // namespace parvane::pstfile
