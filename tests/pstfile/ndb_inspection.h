// Checks a whole file against the rules, from what the database shows of it and the raw maps.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pstfile/ndb/block_format.h"
#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/node_database.h"
#include "pstfile/ndb/page.h"
#include "pstfile/ndb/subnode_tree.h"
#include "tests/pstfile/ndb_memory_files.h"

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

struct Inspection : NodeDatabase::Visitor {
  std::vector<NodeDatabase::PageVisit> pages;
  std::map<BlockId, NodeDatabase::BlockVisit> blocks;
  std::map<NodeId, NodeRecord> nodes;
  std::vector<std::string> problems;

  void OnPage(const NodeDatabase::PageVisit& page) override { pages.push_back(page); }
  void OnBlock(const NodeDatabase::BlockVisit& block) override { blocks[block.bid] = block; }
  void OnNode(const NodeRecord& node) override { nodes[node.nid] = node; }
  void OnDamage(const platform::Status& s) override { problems.push_back(s.message()); }
};

// Everything that must hold of the committed state; `closed`: of the maps too.
inline std::vector<std::string> Problems(const NodeDatabase& database, bool closed) {
  Inspection all;
  database.Visit(all);
  auto& problems = all.problems;
  const auto header = database.Header();
  std::map<BlockId, std::uint32_t> references;
  for (const auto& [nid, node] : all.nodes) {
    if (node.data) ++references[node.data];
    if (node.sub) ++references[node.sub];
  }
  for (const auto& [bid, block] : all.blocks) {
    if (bid.value >= header.nextBlockId)
      problems.push_back("bid " + ToString(bid) + " >= bidNextB");
    auto bytes = database.ReadBlock(bid);
    if (!bytes.ok()) {
      problems.push_back(bytes.status().message());
      continue;
    }
    if (!bid.IsInternal()) continue;
    auto internal = InternalBlock::Parse(bytes->bytes(), bid);
    if (!internal.ok()) {
      problems.push_back(internal.status().message());
      continue;
    }
    std::vector<BlockId> below;
    internal->AppendReferences(below);
    for (const BlockId b : below) ++references[b];
  }
  for (const auto& [bid, count] : references) {
    if (!all.blocks.contains(bid)) problems.push_back("no block " + ToString(bid));
  }
  for (const auto& [bid, block] : all.blocks) {
    if (block.references != 1 + references[bid]) {
      problems.push_back("block " + ToString(bid) + " cRef " + std::to_string(block.references) +
                         ", counted " + std::to_string(1 + references[bid]));
    }
    if (references[bid] == 0) problems.push_back("block " + ToString(bid) + " unused");
  }
  // Space: each 64-byte slot used once, and the maps say so.
  const std::uint64_t intervals = (header.endOfFile - kFirstAMapOffset) / kAMapInterval;
  if (IntervalOffset(intervals) != header.endOfFile) problems.push_back("ibFileEof");
  if (header.lastAMap != IntervalOffset(intervals - 1)) problems.push_back("ibAMapLast");
  std::vector<char> used((header.endOfFile - kFirstAMapOffset) / 64);
  const auto use = [&](std::uint64_t offset, std::uint64_t size, const std::string& what) {
    if (offset < kFirstAMapOffset || offset + size > header.endOfFile) {
      problems.push_back(what + " outside the file");
      return;
    }
    if (IntervalOf(offset) != IntervalOf(offset + size - 1)) {
      problems.push_back(what + " crosses an AMap");
    }
    for (std::uint64_t i = 0; i < size / 64; ++i) {
      if (used[(offset - kFirstAMapOffset) / 64 + i]++ != 0) {
        problems.push_back(what + " overlaps something");
        return;
      }
    }
  };
  for (std::uint64_t n = 0; n < intervals; ++n) {
    use(IntervalOffset(n), MapPageCount(n) * kPageSize, "map pages");
  }
  for (const auto& page : all.pages) {
    use(page.offset.value, kPageSize, "page at " + ToString(page.offset));
    if (page.id.value >= header.nextPageId) problems.push_back("page id >= bidNextP");
  }
  for (const auto& [bid, block] : all.blocks) {
    use(block.offset.value, BlockSizeOnDisk(block.dataSize), "block " + ToString(bid));
  }
  if (!closed) return problems;
  if (header.mapState != 2) problems.push_back("fAMapValid " + std::to_string(header.mapState));
  std::uint64_t free = 0;
  for (std::uint64_t n = 0; n < intervals; ++n) {
    PageBytes map;
    const FileOffset at(IntervalOffset(n));
    if (!database.ReadRaw(at, map).ok()) problems.push_back("AMap unreadable");
    if (auto s = CheckPage(map, PageType::kAMap, at, at.value); !s.ok()) {
      problems.push_back(s.message());
    }
    for (std::size_t i = 0; i < kPageBodySize * 8; ++i) {
      const bool marked = (map[i / 8] & std::byte{0x80} >> (i % 8)) != std::byte{0};
      free += marked ? 0 : 64;
      if (marked == (used[n * kPageBodySize * 8 + i] != 0)) continue;
      problems.push_back("AMap " + std::to_string(n) + " bit " + std::to_string(i) +
                         (marked ? " set but free" : " clear but used"));
      break;
    }
    const PageType others[] = {PageType::kPMap, PageType::kFMap, PageType::kFPMap};
    const bool due[] = {HasPMap(n), HasFMap(n), HasFPMap(n)};
    std::uint64_t offset = at.value + kPageSize;
    for (std::size_t i = 0; i < 3; ++i) {
      if (!due[i]) continue;
      if (!database.ReadRaw(FileOffset(offset), map).ok() ||
          !CheckPage(map, others[i], FileOffset(offset), offset).ok()) {
        problems.push_back(std::string(PageTypeName(others[i])) + " at " + ToHex(offset));
      }
      offset += kPageSize;
    }
  }
  if (free != header.freeBytes) {
    problems.push_back("cbAMapFree " + std::to_string(header.freeBytes) + ", counted " +
                       std::to_string(free));
  }
  return problems;
}

}  // namespace parvane::pstfile
