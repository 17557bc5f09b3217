// Heap pages and heaps: exact bytes, fill levels, growth.
#include <array>
#include <map>
#include <random>
#include <tuple>

#include <gtest/gtest.h>

#include "pstfile/ltp/bth.h"
#include "pstfile/ltp/heap.h"
#include "pstfile/ltp/heap_editor.h"
#include "pstfile/ltp/heap_page.h"
#include "pstfile/ltp/property_context_builder.h"
#include "pstfile/ltp/row_index_editor.h"
#include "tests/pstfile/ndb_inspection.h"

namespace parvane::pstfile {
namespace {

TEST(LtpHeapPage, RootFolderPropertiesAreByteForByteOutlooks) {
  const std::uint8_t expected[] = {
      0x34, 0x00, 0xEC, 0xBC, 0x20, 0,    0,    0, 0,    0, 0,    0, 0xB5, 0x02, 0x06, 0x00,
      0x40, 0,    0,    0,    0x01, 0x30, 0x1F, 0, 0,    0, 0,    0, 0x02, 0x36, 0x03, 0,
      0,    0,    0,    0,    0x03, 0x36, 0x03, 0, 0,    0, 0,    0, 0x0A, 0x36, 0x0B, 0,
      1,    0,    0,    0,    0x02, 0,    0,    0, 0x0C, 0, 0x14, 0, 0x34, 0};
  MemoryFiles files;
  auto db = NodeDatabase::Create(files, u"h.pst");
  ASSERT_OK(db);
  PropertyList list;
  list.SetText(tags::kDisplayName, u"");
  list.SetInt32(tags::kContentCount, 0);
  list.SetInt32(tags::kContentUnreadCount, 0);
  list.SetBool(tags::kSubfolders, true);
  auto written = WritePropertyContext(**db, list);
  ASSERT_OK(written);
  auto block = (*db)->ReadBlock(written->data);
  ASSERT_OK(block);
  EXPECT_TRUE(std::ranges::equal(block->bytes(), std::as_bytes(std::span(expected))));
}

TEST(LtpHeapPage, DamageIsRefusedOrStaysInBounds) {
  HeapPage page(0);
  page.SetClient(HeapClient::kTableContext);
  for (const std::size_t size : {8u, 30u, 0u, 700u, 5u}) page.Add(size);
  const auto encoded = page.Encode(true);
  const std::vector<std::byte> bytes(encoded.begin(), encoded.end());
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_FALSE(HeapPage::Decode(0, std::span(bytes).first(length)).ok()) << length;
  }
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    for (const int value : {0, 1, 0x7F, 0xFF}) {
      auto damaged = bytes;
      damaged[at] = static_cast<std::byte>(value);
      auto decoded = HeapPage::Decode(0, damaged);
      if (!decoded.ok()) continue;
      for (std::size_t item = 1; item <= decoded->items(); ++item) {
        ASSERT_LE(decoded->Item(item).size(), bytes.size());
      }
    }
  }
}

TEST(LtpHeap, RowIndexIsBelievedOnlyWithRecordsOfItsSizes) {
  MemoryFiles files;
  auto db = NodeDatabase::Create(files, u"h.pst");
  ASSERT_OK(db);
  auto heap = HeapEditor::Create(**db, HeapClient::kTableContext);
  ASSERT_OK(heap);
  for (const auto& [key, data, sound] : {std::tuple{4, 4, true}, {4, 2, false}, {2, 4, false}}) {
    BthHeader header;
    header.keySize = static_cast<std::uint8_t>(key);
    header.dataSize = static_cast<std::uint8_t>(data);
    std::array<std::byte, 8> bytes;
    header.Encode(bytes);
    auto id = heap->Add(bytes);
    ASSERT_OK(id);
    EXPECT_EQ(RowIndexEditor::Open(*heap, *id).ok(), sound) << key << " and " << data;
  }
}

// Random items come, change and go over hundreds of pages; every fill level in the file is right.
TEST(LtpHeap, RandomChangesMatchAModel) {
  MemoryFiles files;
  auto db = NodeDatabase::Create(files, u"h.pst");
  ASSERT_OK(db);
  ASSERT_OK((*db)->Publish());
  auto heap = HeapEditor::Create(**db, HeapClient::kBTreeOnHeap);
  ASSERT_OK(heap);
  std::mt19937 random(7);
  std::map<std::uint32_t, std::vector<std::byte>> model;
  const auto bytes = [&] {
    return std::vector<std::byte>(1 + random() % (random() % 20 == 0 ? 3580 : 600),
                                  static_cast<std::byte>(random()));
  };
  const auto any = [&] {
    return std::next(model.begin(), static_cast<std::ptrdiff_t>(random() % model.size()));
  };
  for (int step = 0; step < 6000; ++step) {
    const auto dice = random() % 10;
    if (model.empty() || dice < 7) {
      auto value = bytes();
      auto id = heap->Add(value);
      ASSERT_OK(id);
      ASSERT_TRUE(model.emplace(id->value, std::move(value)).second);
    } else if (dice < 9) {
      const auto at = any();
      auto value = bytes();
      auto id = heap->Replace(HeapId(at->first), value);
      ASSERT_OK(id);
      model.erase(at);
      model[id->value] = std::move(value);
    } else {
      const auto at = any();
      ASSERT_OK(heap->Free(HeapId(at->first)));
      model.erase(at);
    }
    // Often enough for pages to fill right behind it.
    if (step % 5 != 4) continue;
    auto root = heap->Flush();
    ASSERT_OK(root);
    ASSERT_OK((*db)->PutNode({NodeId(0x21), *root, BlockId(), NodeId()}));
    if (step % 1000 != 999) continue;
    ASSERT_OK((*db)->Commit());
    if (step % 2000 == 1999) {
      heap = HeapEditor::Open(**db, *root);
      ASSERT_OK(heap);
    }
    auto reader = Heap::Open(**db, *root, BlockId(), HeapClient::kBTreeOnHeap);
    ASSERT_OK(reader);
    for (const auto& [id, value] : model) {
      auto item = reader->Item(HeapId(id));
      ASSERT_OK(item);
      ASSERT_TRUE(std::ranges::equal(item->bytes, value));
    }
    auto tree = DataTree::Open(**db, *root);
    ASSERT_OK(tree);
    std::vector<HeapPage> pages;
    for (std::uint32_t n = 0; n < tree->blockCount(); ++n) {
      auto block = tree->ReadBlock(n);
      ASSERT_OK(block);
      ASSERT_EQ(block->size() == kHeapPageSize, n + 1 < tree->blockCount());
      auto page = HeapPage::Decode(n, block->bytes());
      ASSERT_OK(page);
      pages.push_back(std::move(*page));
    }
    for (const HeapPage& page : pages) {
      EXPECT_EQ(
          pages[FillLevelHolder(page.number())].StoredFillLevel(FillLevelIndex(page.number())),
          page.FillLevel())
          << "page " << page.number();
    }
    EXPECT_GT(pages.size(), 20u);
  }
}

}  // namespace
}  // namespace parvane::pstfile
