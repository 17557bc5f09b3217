// Tables and property contexts against models in memory, through flushes and reopening.
#include <map>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pstfile/ltp/property_context_builder.h"
#include "pstfile/ltp/property_reader.h"
#include "pstfile/ltp/table_editor.h"
#include "pstfile/ltp/table_reader.h"
#include "pstfile/ndb/little_endian.h"
#include "tests/pstfile/ndb_inspection.h"

namespace parvane::pstfile {
namespace {

using platform::StatusCode;

constexpr NodeId kTable{0x802E};
constexpr PropTag kFlags{0x0E070003};
constexpr PropTag kShort{0x00160002};
constexpr PropTag kBool{0x0057000B};
constexpr PropTag kTime{0x0E060040};
constexpr PropTag kText{0x0037001F};
constexpr PropTag kBlob{0x00710102};
constexpr PropTag kColumns[] = {kText, kFlags, kTime, kBool, kShort, kBlob};

std::vector<std::byte> Pattern(std::size_t size, std::uint32_t seed) {
  std::vector<std::byte> bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::byte>(seed + i * 7);
  return bytes;
}

struct LtpTable : ::testing::Test {
  MemoryFiles files;
  std::unique_ptr<NodeDatabase> db;
  std::unique_ptr<TableEditor> table;
  std::map<std::uint32_t, PropertyList> model;
  std::mt19937 random{20240607};

  void SetUp() override {
    auto created = NodeDatabase::Create(files, u"t.pst");
    ASSERT_OK(created);
    db = std::move(*created);
    ASSERT_OK(db->Publish());
    auto made = TableEditor::Create(*db, TableLayout::FromTags(kColumns));
    ASSERT_OK(made);
    table = std::move(*made);
  }
  void TearDown() override { table.reset(); }

  std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); }

  PropertyList RandomRow(bool large) {
    PropertyList row;
    if (Below(8) != 0) row.SetInt32(kFlags, static_cast<std::int32_t>(random()));
    if (Below(2) != 0) row.SetScalar(kShort, random());
    if (Below(2) != 0) row.SetBool(kBool, Below(2) != 0);
    if (Below(4) != 0) row.SetScalar(kTime, std::uint64_t{random()} << 20);
    if (Below(8) != 0) row.SetText(kText, std::u16string(Below(80), u'a' + Below(26)));
    if (Below(4) == 0) row.SetBytes(kBlob, Pattern(Below(large ? 9000 : 200), random()));
    return row;
  }
  void Append(std::uint32_t id, PropertyList row) {
    ASSERT_OK(table->AppendRow(id, db->Unique(), row));
    model[id] = std::move(row);
  }
  void Flush() {
    auto roots = table->Flush();
    ASSERT_OK(roots);
    ASSERT_OK(db->PutNode({kTable, roots->data, roots->subnodes, NodeId()}));
  }
  void Reopen() {
    Flush();
    auto node = db->FindNode(kTable);
    ASSERT_OK(node);
    auto opened = TableEditor::Open(*db, (*node)->data, (*node)->sub);
    ASSERT_OK(opened);
    table = std::move(*opened);
  }
  void ExpectModel() {
    auto node = db->FindNode(kTable);
    ASSERT_OK(node);
    auto reader = TableReader::Open(*db, {kTable, (*node)->data, (*node)->sub});
    ASSERT_OK(reader);
    ASSERT_EQ(reader->rows(), model.size());
    auto index = TableEditor::Open(*db, (*node)->data, (*node)->sub);
    ASSERT_OK(index);
    for (std::uint64_t row = 0; row < reader->rows(); ++row) {
      ASSERT_OK(reader->SelectRow(row));
      const std::uint32_t id = reader->RowId();
      ASSERT_TRUE(model.contains(id)) << id;
      const PropertyList& expected = model[id];
      auto flags = (*index)->Scalar(id, kFlags);
      ASSERT_OK(flags);
      ASSERT_EQ(*flags, expected.Scalar(kFlags));
      PropertyList cells;
      ASSERT_OK(reader->ReadRow(cells, nullptr, 1 << 20));
      ASSERT_EQ(cells.size(), expected.size()) << "row " << id;
      for (std::size_t i = 0; i < cells.size(); ++i) {
        const Property a = cells.at(i);
        const Property b = expected.at(i);
        ASSERT_EQ(a.tag, b.tag);
        ASSERT_EQ(a.scalar, b.scalar) << ToString(a.tag);
        ASSERT_TRUE(std::ranges::equal(a.bytes, b.bytes)) << ToString(a.tag);
      }
    }
  }
  // Fills the table until it refuses a row; none before that may fail.
  void FillWith(const PropertyList& row) {
    std::uint32_t id = 0;
    for (; table->CheckRoom().ok(); ++id) {
      ASSERT_LT(id, 10'000u);
      Append(id + 1, row);
      ASSERT_FALSE(HasFatalFailure()) << id;
    }
    EXPECT_EQ(table->CheckRoom().code(), StatusCode::kTooBig);
    EXPECT_EQ(table->AppendRow(id + 1, 0, row).code(), StatusCode::kTooBig);
    EXPECT_GT(id, 0u);
  }
  // The blocks of the file are exactly those that its nodes refer to.
  void ExpectNoLeaks() {
    table.reset();
    ASSERT_OK(db->Close());
    auto opened = NodeDatabase::Open(files, u"t.pst", OpenMode::kRead);
    ASSERT_OK(opened);
    db = std::move(*opened);
    EXPECT_THAT(Problems(files, u"t.pst", true), ::testing::IsEmpty());
    ExpectModel();
  }
};

// The heap ends; cells are never dropped for it.
TEST_F(LtpTable, RefusesARowBeforeItsHeapIsFull) {
  table->LimitHeap(163);
  PropertyList row;
  row.SetText(kText, std::u16string(kMaxHeapItem / 2, u'w'));
  row.SetBytes(kBlob, Pattern(kMaxHeapItem, 1));
  row.SetInt32(kFlags, 7);
  FillWith(row);
  Flush();
  ExpectModel();

  // Whatever a row holds, it fits as long as there is room at all.
  std::vector<PropTag> columns;
  PropertyList widest;
  for (std::uint32_t i = 0; i < 250; ++i) {
    columns.emplace_back(((0x6000 + i) << 16) | 0x0102);
    widest.SetBytes(columns.back(), Pattern(kMaxHeapItem, i));
  }
  auto made = TableEditor::Create(*db, TableLayout::FromTags(columns));
  ASSERT_OK(made);
  table = std::move(*made);
  model.clear();
  table->LimitHeap(290);
  FillWith(widest);
  Flush();
  ExpectModel();
}

TEST_F(LtpTable, RandomChangesMatchAModel) {
  std::uint32_t next = 1000;
  for (int round = 0; round < 60; ++round) {
    for (int step = 0; step < 60; ++step) {
      const std::uint32_t dice = Below(100);
      if (model.empty() || dice < 55) {
        next += 1 + Below(3) * 32;
        Append(next, RandomRow(Below(10) == 0));
      } else if (dice < 60) {
        const std::uint32_t id = Below(next);  // among the others, or before them
        if (!model.contains(id)) Append(id, RandomRow(false));
      } else {
        auto at = model.lower_bound(Below(next + 1));
        if (at == model.end()) at = std::prev(model.end());
        if (dice < 85) {
          PropertyList row = RandomRow(Below(10) == 0);
          ASSERT_OK(table->UpdateRow(at->first, db->Unique(), row));
          at->second = std::move(row);
        } else {
          ASSERT_OK(table->RemoveRow(at->first));
          model.erase(at);
        }
      }
    }
    if (round % 3 == 0) Flush();
    if (round % 5 == 0) Reopen();
    if (round % 7 == 0) ASSERT_OK(db->Commit());
    if (round % 10 == 0) {
      Flush();
      ExpectModel();
    }
  }
  while (!model.empty() && model.size() % 50 != 0) {
    ASSERT_OK(table->RemoveRow(model.begin()->first));
    model.erase(model.begin());
  }
  Flush();
  ExpectModel();
  ExpectNoLeaks();
}

TEST_F(LtpTable, EveryRowCanGoAndNewOnesCome) {
  for (std::uint32_t id = 1; id <= 1500; ++id) Append(id, RandomRow(false));
  Reopen();
  for (std::uint32_t id = 1; id <= 1500; ++id) ASSERT_OK(table->RemoveRow(id));
  model.clear();
  Reopen();
  ExpectModel();
  for (std::uint32_t id = 5; id <= 10; ++id) Append(id, RandomRow(false));
  Flush();
  ExpectModel();
  ExpectNoLeaks();
}

// Above 199,809 rows the row index has two index levels; flushes leave partial leaves and pages.
TEST_F(LtpTable, ManyRowsCostTheSameEach) {
  constexpr std::uint32_t kRows = 210'000;
  PropertyList row;
  row.SetInt32(kFlags, 1);
  std::uint64_t bytesEarly = 0, bytesLate = 0;
  for (std::uint32_t i = 0; i < kRows; ++i) {
    row.SetScalar(kTime, i);
    row.SetBytes(kBlob, Pattern(20, i));
    ASSERT_OK(table->AppendRow(0x200024 + 32 * i, 0, row));
    if (i % 997 != 0) continue;
    const std::uint64_t before = db->TransactionBytes();
    Flush();
    const std::uint64_t cost = db->TransactionBytes() - before;
    if (i >= 9970 && bytesEarly == 0) bytesEarly = cost;
    bytesLate = cost;
    ASSERT_OK(db->Commit());
  }
  EXPECT_LT(bytesLate, 2 * bytesEarly + (64 << 10));
  Flush();
  auto node = db->FindNode(kTable);
  ASSERT_OK(node);
  auto reader = TableReader::Open(*db, {kTable, (*node)->data, (*node)->sub});
  ASSERT_OK(reader);
  ASSERT_EQ(reader->rows(), kRows);
  auto index = TableEditor::Open(*db, (*node)->data, (*node)->sub);
  ASSERT_OK(index);
  for (std::uint32_t i = 0; i < kRows; i += 373) {
    ASSERT_EQ(*(*index)->Scalar(0x200024 + 32 * i, kTime), i);
    ASSERT_OK(reader->SelectRow(i));
    ASSERT_EQ(reader->RowId(), 0x200024 + 32 * i);
    ASSERT_EQ(*reader->Scalar(kTime), i);
    ASSERT_EQ(*reader->Bytes(kBlob), Pattern(20, i));
  }
  EXPECT_FALSE(*(*index)->HasRow(0x200025));
}

TEST_F(LtpTable, RefusalsLeaveTheTableAsItWas) {
  Append(7, RandomRow(true));
  EXPECT_EQ(table->AppendRow(7, 0, RandomRow(true)).code(), StatusCode::kExists);
  EXPECT_EQ(table->UpdateRow(8, 0, RandomRow(true)).code(), StatusCode::kNotFound);
  EXPECT_EQ(table->RemoveRow(8).code(), StatusCode::kNotFound);
  Flush();
  ExpectModel();
  ExpectNoLeaks();
}

TEST_F(LtpTable, LayoutsOfATemplateAreOutlooks) {
  // The 28 columns of a contents table, in the order in which Outlook numbers them.
  const std::uint32_t order[] = {0x0E170003, 0x001A001F, 0x0E070003, 0x00170003, 0x0042001F,
                                 0x0037001F, 0x0E060040, 0x00390040, 0x0E080003, 0x0E04001F,
                                 0x0E03001F, 0x0057000B, 0x0058000B};
  std::vector<PropTag> tags;
  for (const std::uint32_t tag : order) tags.emplace_back(tag);
  const TableLayout layout = TableLayout::FromTags(tags);
  EXPECT_EQ(layout.FindId(0x0E06)->offset, 32);
  EXPECT_EQ(layout.FindId(0x0E06)->bit, 8);
  EXPECT_EQ(layout.FindId(0x0058)->offset, 61);
  EXPECT_EQ(layout.rowSize(), 62u + 2);
  std::vector<std::byte> encoded(layout.EncodedSize());
  layout.Encode(encoded);
  auto decoded = TableLayout::Decode(encoded);
  ASSERT_OK(decoded);
  EXPECT_EQ(decoded->rowSize(), layout.rowSize());
  // Every damaged byte either still gives a layout whose cells lie in the row, or is refused.
  for (std::size_t at = 0; at < encoded.size(); ++at) {
    for (const int value : {0x00, 0x7F, 0xFF}) {
      auto damaged = encoded;
      damaged[at] = static_cast<std::byte>(value);
      auto result = TableLayout::Decode(damaged);
      if (!result.ok()) continue;
      for (const TableColumn& column : result->columns()) {
        ASSERT_LE(column.offset + column.width, static_cast<int>(result->rowSize()));
      }
    }
  }
}

// ---- Property contexts -------------------------------------------------------------------------

struct LtpProperties : LtpTable {
  PropertyReader RoundTrip(PropertyList list) {
    auto written = WritePropertyContext(*db, list);
    EXPECT_TRUE(written.ok()) << written.status().message();
    EXPECT_TRUE(db->PutNode({NodeId(0x21), written->data, written->subnodes, NodeId()}).ok());
    auto reader = PropertyReader::Open(*db, {NodeId(0x21), written->data, written->subnodes});
    EXPECT_TRUE(reader.ok()) << reader.status().message();
    return std::move(*reader);
  }
};

TEST_F(LtpProperties, EveryTypeComesBack) {
  PropertyList list;
  list.SetScalar(PropTag(0x10010002), 0xFFFE);
  list.SetInt32(PropTag(0x10020003), -5);
  list.SetScalar(PropTag(0x10040004), 0x3F800000);
  list.SetScalar(PropTag(0x10050005), 0x3FF0000000000000);
  list.SetScalar(PropTag(0x10060006), 1);
  list.SetScalar(PropTag(0x10070007), 2);
  list.SetScalar(PropTag(0x1008000A), 0x8004010F);
  list.SetBool(PropTag(0x1009000B), true);
  list.SetScalar(PropTag(0x100A0014), 0xFFFFFFFFFFFFFFFF);
  list.SetScalar(PropTag(0x100B0040), 0);
  list.SetObject(PropTag(0x100C000D), {NodeId(0x8025), 77});
  list.SetBytes(PropTag(0x100D001E), Pattern(9, 1));
  list.SetText(PropTag(0x100E001F), u"A\xD800z\xD83D\xDE00\xDC00");
  list.SetBytes(PropTag(0x100F0048), Pattern(16, 3));
  list.SetBytes(PropTag(0x10100102), {});
  list.SetBytes(PropTag(0x10111003), Pattern(12, 5));
  const std::u16string_view texts[] = {u"one", u"", u"\xDC00three"};
  list.SetBytes(PropTag(0x1012101F), EncodeMultiText(texts));
  list.ShrinkToFit();
  // At, below and above what the heap takes; beyond one block; beyond an XBLOCK's first block.
  std::uint16_t id = 0x2000;
  for (const std::size_t size : {3579u, 3580u, 3581u, 8176u, 8177u, 100'000u}) {
    list.SetBytes(PropTag(id, PropType::kBinary), Pattern(size, id));
    ++id;
  }
  const PropertyList expected = list;
  PropertyReader reader = RoundTrip(std::move(list));
  ASSERT_EQ(reader.entries().size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const Property property = expected.at(i);
    ASSERT_TRUE(reader.Has(property.tag)) << ToString(property.tag);
    if (property.kind == Property::Kind::kScalar) {
      EXPECT_EQ(*reader.Scalar(property.tag), property.scalar) << ToString(property.tag);
    } else if (property.kind == Property::Kind::kBytes) {
      auto bytes = reader.Bytes(property.tag);
      ASSERT_OK(bytes);
      EXPECT_TRUE(std::ranges::equal(*bytes, property.bytes)) << ToString(property.tag);
      EXPECT_EQ(*reader.SizeOf(property.tag), property.Size());
    }
  }
  EXPECT_EQ(reader.Object(PropTag(0x100C000D))->size, 77u);
  EXPECT_EQ(*reader.Text(PropTag(0x100E001F)), u"A\xFFFDz\xD83D\xDE00\xFFFD");
  auto multi = reader.Bytes(PropTag(0x1012101F));
  auto elements = DecodeMultiVariable(*multi);
  ASSERT_TRUE(elements.has_value());
  EXPECT_EQ(DecodeText((*elements)[2]), u"\xFFFDthree");
  EXPECT_EQ(reader.Scalar(PropTag(0x66660003)).status().code(), StatusCode::kNotFound);
  EXPECT_EQ(reader.Bytes(PropTag(0x20050102), 1000).status().code(), StatusCode::kTooBig);
}

TEST_F(LtpProperties, ThousandsOfPropertiesOverManyPages) {
  PropertyList list;
  for (std::uint32_t i = 0; i < 5000; ++i) {
    const PropTag tag(static_cast<std::uint16_t>(0x1000 + i), PropType::kBinary);
    list.SetBytes(tag, Pattern(1 + i % 900, i));
  }
  PropertyReader reader = RoundTrip(std::move(list));
  ASSERT_EQ(reader.entries().size(), 5000u);
  for (std::uint32_t i = 0; i < 5000; i += 7) {
    const PropTag tag(static_cast<std::uint16_t>(0x1000 + i), PropType::kBinary);
    ASSERT_EQ(*reader.Bytes(tag), Pattern(1 + i % 900, i));
  }
}

TEST_F(LtpProperties, AListReplacesByIdAndCopiesItsOwnValues) {
  PropertyList list;
  list.SetText(PropTag(0x3001001F), u"a value that is long enough to make the arena grow");
  for (std::uint16_t id = 0x4000; id < 0x4020; ++id) {
    list.SetBytes(PropTag(id, PropType::kBinary), list.Find(PropTag(0x3001001F))->bytes);
  }
  EXPECT_EQ(DecodeText(list.FindId(0x401F)->bytes), *list.Text(PropTag(0x3001001F)));
  list.SetInt32(PropTag(0x401F0003), 5);
  EXPECT_FALSE(list.Find(PropTag(0x401F0102)).has_value());
  EXPECT_EQ(list.Scalar(PropTag(0x401F0003)), 5u);
  EXPECT_TRUE(list.Remove(0x401F));
  EXPECT_FALSE(list.Remove(0x401F));
  EXPECT_EQ(list.size(), 32u);
}

TEST_F(LtpProperties, WhatCannotBeStoredIsRefused) {
  const auto refused = [&](PropTag tag, std::size_t size) {
    PropertyList list;
    list.SetBytes(tag, Pattern(size, 0));
    return WritePropertyContext(*db, list).status().code();
  };
  const std::pair<std::uint32_t, std::size_t> cases[] = {{0x10000001, 4}, {0x10000000, 4},
                                                         {0x10000003, 4}, {0x10000048, 15},
                                                         {0x10001003, 7}, {0x100000FD, 7}};
  for (const auto& [tag, size] : cases) {
    EXPECT_EQ(refused(PropTag(tag), size), StatusCode::kInvalidArgument) << tag;
  }
}

TEST_F(LtpProperties, AnObjectsValueOfAnotherSizeIsDamage) {
  constexpr std::size_t kTypeOffset =
      22;  // of the first record, behind the headers of heap and tree
  for (const std::size_t size : {4u, 7u, 8u, 9u}) {
    PropertyList list;
    list.SetBytes(PropTag(0x37010102), Pattern(size, 0));
    const auto block = db->ReadBlock(WritePropertyContext(*db, list)->data);
    Bytes bytes(block->bytes().begin(), block->bytes().end());
    StoreU16(bytes, kTypeOffset, 0x000D);
    auto reader = PropertyReader::Open(*db, {NodeId(0x21), *db->WriteBlock(bytes), {}});
    ASSERT_OK(reader);
    EXPECT_EQ(reader->Object(PropTag(0x3701000D)).ok(), size == 8) << size;
  }
}

}  // namespace
}  // namespace parvane::pstfile
