// Walks a B-tree of pages in the order of its keys ([MS-PST] 2.2.2.7.7).
#pragma once

#include <cstdint>

#include "pstfile/check/image.h"
#include "pstfile/check/reporter.h"

namespace parvane::pstfile::check {

class TreeVisitor {
 public:
  virtual ~TreeVisitor() = default;
  // Every page reached, whether its content is right or not.
  virtual void OnPage(TreeKind, std::uint64_t /*offset*/) {}
  virtual void OnBlock(const BlockRecord&) {}
  virtual void OnNode(const NodeRecord&) {}
};

// With a judge, reports what is wrong with the pages and their order; without one (later passes
// over the same tree) keeps silent. Either way the same entries are visited: those of pages that
// can be understood, in strictly ascending order.
//
// A child is entered only if its first key lies in the range its parent gives it. The ranges of
// one level do not overlap, so no page is entered twice on a level however entries point around.
void WalkTree(Image& image, TreeKind kind, TreeVisitor& visitor, Reporter* judge);

}  // namespace parvane::pstfile::check
