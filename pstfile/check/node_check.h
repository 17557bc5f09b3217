// The node B-tree: parents, id counters, the nodes every store has, and a directory of folders.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "pstfile/check/image.h"
#include "pstfile/check/reporter.h"
#include "pstfile/check/survey.h"

namespace parvane::pstfile::check {

// A folder or search folder and how many nodes call it their parent.
struct FolderFacts {
  NodeId nid;
  NodeId parent;
  std::uint32_t folders = 0;
  std::uint32_t messages = 0;
  std::uint32_t hidden = 0;
};

// Folders in the order of their ids, 20 bytes each.
class FolderDirectory {
 public:
  static constexpr std::size_t kMaximum = std::size_t{1} << 20;

  // In ascending order of ids. False once the directory is full.
  bool Add(const FolderFacts& facts);
  FolderFacts* Find(NodeId nid);
  const std::vector<FolderFacts>& all() const { return _folders; }
  bool complete() const { return _complete; }

 private:
  std::vector<FolderFacts> _folders;
  std::size_t _lastFound = 0;
  bool _complete = true;
};

FolderDirectory CheckNodes(Image& image, Reporter& reporter, Survey& survey);

}  // namespace parvane::pstfile::check
