// What a node database holds, and what the checker finds in its file.
#pragma once

#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "pstfile/check/tree_walk.h"
#include "pstfile/ndb/block_format.h"
#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/node_database.h"
#include "pstfile/ndb/page.h"
#include "pstfile/ndb/subnode_tree.h"
#include "tests/pstfile/ndb_memory_files.h"
#include "tests/support/findings.h"

namespace parvane::pstfile {

inline std::string Text(const platform::Status& s) { return s.message(); }
#define ASSERT_OK(expression)                           \
  do {                                                  \
    const auto& asserted = (expression);                \
    ASSERT_TRUE(asserted.ok()) << StatusText(asserted); \
  } while (false)
inline std::string StatusText(const platform::Status& s) { return s.message(); }
template <typename T>
std::string StatusText(const platform::Result<T>& r) {
  return r.status().message();
}

// `size` bytes that differ from place to place and from seed to seed.
inline Bytes Pattern(std::size_t size, std::uint64_t seed) {
  Bytes bytes(size);
  std::uint64_t x = seed * 0x9E3779B97F4A7C15U + 1;
  for (std::size_t i = 0; i < size; ++i) {
    if (i % 8 == 0) x = x * 6364136223846793005U + 1442695040888963407U;
    bytes[i] = static_cast<std::byte>(x >> (8 * (i % 8)));
  }
  return bytes;
}

// What a file holds, as the checker walks it.
struct Inspection : check::TreeVisitor {
  std::map<check::TreeKind, std::size_t> pages;
  std::map<BlockId, BlockRecord> blocks;
  std::map<NodeId, NodeRecord> nodes;

  Inspection(MemoryFiles& files, std::u16string_view path) {
    auto image = check::Image::Open(files, path);
    if (!image.ok()) throw std::runtime_error(image.status().message());
    for (const auto kind : {check::TreeKind::kBlocks, check::TreeKind::kNodes}) {
      WalkTree(**image, kind, *this, nullptr);
    }
  }
  void OnPage(check::TreeKind kind, std::uint64_t) override { ++pages[kind]; }
  void OnBlock(const BlockRecord& block) override { blocks[block.bid] = block; }
  void OnNode(const NodeRecord& node) override { nodes[node.nid] = node; }
};

// What the checker finds below the contents of nodes: pages, blocks, their counts and their space;
// `closed`: and in the maps.
inline std::string Problems(MemoryFiles& files, std::u16string_view path, bool closed) {
  constexpr const char* kCodes =
      "header not-closed file-size page btree amap map free-count space dlist block tree "
      "subnode-block subnode-order dangling reference orphan";
  Findings found;
  const auto checked = CheckFile(files, path, {.acceptUnclosed = !closed}, found);
  if (!checked.ok()) return checked.status().message();
  std::istringstream lines(found.text);
  std::string problems;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream codes(kCodes);
    for (std::string code; codes >> code;) {
      if (line.starts_with(code)) problems += line + "\n";
    }
  }
  return problems;
}

}  // namespace parvane::pstfile
