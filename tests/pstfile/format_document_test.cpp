// docs/pst_format.md against the code: every offset, size and constant it names.
#include <charconv>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "platform/file.h"
#include "platform/path.h"
#include "pstfile/ltp/heap_page.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/ids.h"
#include "pstfile/ndb/layout.h"
#include "pstfile/store/store_layout.h"

namespace parvane::pstfile {
namespace {

using Row = std::vector<std::string>;
struct Table {
  std::string heading;  // the last one before it
  Row columns;
  std::vector<Row> rows;
};

std::string Trimmed(std::string_view text) {
  const auto from = text.find_first_not_of(" `");
  if (from == text.npos) return "";
  return std::string(text.substr(from, text.find_last_not_of(" `") - from + 1));
}

Row CellsOf(std::string_view line) {
  Row cells;
  line = line.substr(1, line.rfind('|') - 1);
  for (std::size_t from = 0; from <= line.size();) {
    const std::size_t end = std::min(line.find('|', from), line.size());
    cells.push_back(Trimmed(line.substr(from, end - from)));
    from = end + 1;
  }
  return cells;
}

std::vector<Table> TablesOf(std::string_view text) {
  std::vector<Table> tables;
  std::string heading;
  bool inTable = false;
  for (std::size_t from = 0; from < text.size();) {
    const std::size_t end = std::min(text.find('\n', from), text.size());
    const std::string_view line = text.substr(from, end - from);
    from = end + 1;
    if (line.starts_with('#')) heading = Trimmed(line.substr(line.find(' ')));
    if (!line.starts_with('|')) {
      inTable = false;
    } else if (!inTable) {
      inTable = true;
      tables.push_back({heading, CellsOf(line), {}});
    } else if (!line.starts_with("|-")) {
      tables.back().rows.push_back(CellsOf(line));
    }
  }
  return tables;
}

std::uint64_t Number(const std::string& text) {
  const bool hex = text.starts_with("0x");
  std::uint64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data() + (hex ? 2 : 0), end, value, hex ? 16 : 10);
  EXPECT_TRUE(parsed.ec == std::errc() && parsed.ptr == end) << text;
  return value;
}

class FormatDocument : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto text = platform::ReadWholeFile(platform::FileSystem::Default(),
                                              platform::PathFromNative(PARVANE_FORMAT_DOCUMENT));
    ASSERT_TRUE(text.ok()) << text.status().message();
    tables = TablesOf(*text);
  }

  std::vector<Row> RowsOf(std::string_view firstColumn, std::string_view secondColumn) const {
    std::vector<Row> rows;
    for (const Table& table : tables) {
      if (table.columns[0] != firstColumn || table.columns[1] != secondColumn) continue;
      rows.insert(rows.end(), table.rows.begin(), table.rows.end());
    }
    return rows;
  }

  std::vector<Table> tables;
};

TEST_F(FormatDocument, FieldsAreWhereTheCodeHasThem) {
  using Fields = std::span<const Field>;
  const std::map<std::string, Fields> structures{{"HEADER", fields::Header::kAll},
                                                 {"BREF", fields::PageReference::kAll},
                                                 {"PAGETRAILER", fields::PageTrailer::kAll},
                                                 {"BTPAGE", fields::TreePage::kAll},
                                                 {"BTENTRY", fields::BranchEntry::kAll},
                                                 {"BBTENTRY", fields::BlockEntry::kAll},
                                                 {"NBTENTRY", fields::NodeEntry::kAll},
                                                 {"DLIST", fields::DensityList::kAll},
                                                 {"BLOCKTRAILER", fields::BlockTrailer::kAll},
                                                 {"XBLOCK", fields::InternalBlock::kAll},
                                                 {"SLENTRY", fields::SubnodeEntry::kAll},
                                                 {"SIENTRY", fields::SubnodeIndexEntry::kAll},
                                                 {"HNHDR", fields::HeapHeader::kAll},
                                                 {"HNBITMAPHDR", fields::HeapBitmapHeader::kAll},
                                                 {"HNPAGEMAP", fields::HeapPageMap::kAll},
                                                 {"BTHHEADER", fields::BthHeader::kAll},
                                                 {"PCRECORD", fields::PropertyRecord::kAll},
                                                 {"OBJECT", fields::ObjectValue::kAll},
                                                 {"TCINFO", fields::TableInfo::kAll},
                                                 {"TCOLDESC", fields::TableColumn::kAll},
                                                 {"TCROWID", fields::RowIndexRecord::kAll},
                                                 {"TCROW", fields::TableRow::kAll},
                                                 {"NAMEID", fields::NameEntry::kAll},
                                                 {"ENTRYID", fields::EntryId::kAll}};
  std::set<std::string> seen;
  for (const Table& table : tables) {
    if (table.columns[0] != "offset") continue;
    SCOPED_TRACE(table.heading);
    ASSERT_TRUE(structures.contains(table.heading));
    ASSERT_TRUE(seen.insert(table.heading).second) << "twice";
    const Fields expected = structures.at(table.heading);
    ASSERT_EQ(table.rows.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_EQ(table.rows[i][2], expected[i].name);
      EXPECT_EQ(Number(table.rows[i][0]), expected[i].offset) << expected[i].name;
      EXPECT_EQ(Number(table.rows[i][1]), expected[i].size) << expected[i].name;
      if (i == 0) continue;
      EXPECT_EQ(expected[i].offset, expected[i - 1].offset + expected[i - 1].size)
          << "a gap before " << expected[i].name;
    }
  }
  EXPECT_EQ(seen.size(), structures.size());
}

TEST_F(FormatDocument, ConstantsHaveTheValuesOfTheCode) {
  const std::map<std::string, std::uint64_t> constants{
      {"kPageSize", kPageSize},
      {"kPageBodySize", kPageBodySize},
      {"kBlockAlignment", kBlockAlignment},
      {"kMaximumBlockSize", kMaximumBlockSize},
      {"kMaximumBlockData", kMaximumBlockData},
      {"kHeaderCopyOffset", kHeaderCopyOffset},
      {"kDListOffset", kDListOffset},
      {"kFirstAMapOffset", kFirstAMapOffset},
      {"kAMapInterval", kAMapInterval},
      {"kSmallestFile", kSmallestFile},
      {"kMaximumXBlockEntries", kMaximumXBlockEntries},
      {"kMaximumSlBlockEntries", kMaximumSlBlockEntries},
      {"kMaximumSiBlockEntries", kMaximumSiBlockEntries},
      {"kHeapPageSize", kHeapPageSize},
      {"kHeapPageSpare", kHeapPageSpare},
      {"kMaxHeapItem", kMaxHeapItem},
      {"kMaxHeapItemsPerPage", kMaxHeapItemsPerPage},
      {"kMaxHeapPages", kMaxHeapPages}};
  const std::vector<Row> rows = RowsOf("constant", "value");
  for (const Row& row : rows) {
    ASSERT_TRUE(constants.contains(row[0])) << row[0];
    EXPECT_EQ(Number(row[1]), constants.at(row[0])) << row[0];
  }
  EXPECT_EQ(rows.size(), constants.size());
}

TEST_F(FormatDocument, NodesHaveTheNumbersOfTheCode) {
  const std::map<std::string, NodeId> nodes{
      {"kNidMessageStore", kNidMessageStore},
      {"kNidNameToIdMap", kNidNameToIdMap},
      {"kNidRootFolder", kNidRootFolder},
      {"kNidSearchManagementQueue", kNidSearchManagementQueue},
      {"kNidSearchActivityList", kNidSearchActivityList},
      {"kNidSearchDomainObject", kNidSearchDomainObject},
      {"kNidHierarchyTableTemplate", kNidHierarchyTableTemplate},
      {"kNidContentsTableTemplate", kNidContentsTableTemplate},
      {"kNidAssociatedContentsTableTemplate", kNidAssociatedContentsTableTemplate},
      {"kNidSearchContentsTableTemplate", kNidSearchContentsTableTemplate},
      {"kNidReceiveFolderTable", kNidReceiveFolderTable},
      {"kNidOutgoingQueueTable", kNidOutgoingQueueTable},
      {"kNidAttachmentTable", kNidAttachmentTable},
      {"kNidRecipientTable", kNidRecipientTable},
      {"kNidChangeHistoryTableTemplate", kNidChangeHistoryTableTemplate},
      {"kNidTombstoneTableTemplate", kNidTombstoneTableTemplate},
      {"kNidTombstoneDateTableTemplate", kNidTombstoneDateTableTemplate},
      {"kNidInternalC01", kNidInternalC01},
      {"kNidSpamSearchFolder", kNidSpamSearchFolder},
      {"kNidIpmSubtree", kNidIpmSubtree},
      {"kNidSearchRoot", kNidSearchRoot},
      {"kNidDeletedItems", kNidDeletedItems}};
  const std::vector<Row> rows = RowsOf("nid", "constant");
  for (const Row& row : rows) {
    ASSERT_TRUE(nodes.contains(row[1])) << row[1];
    EXPECT_EQ(Number(row[0]), nodes.at(row[1]).value) << row[1];
  }
  EXPECT_EQ(rows.size(), nodes.size());
}

TEST_F(FormatDocument, FillLevelsBeginWhereTheCodeBeginsThem) {
  const std::vector<Row> rows = RowsOf("level", "free bytes from");
  ASSERT_EQ(rows.size(), 16U);
  for (const Row& row : rows) {
    const std::size_t from = Number(row[1]);
    EXPECT_EQ(FillLevelOf(from), Number(row[0]));
    if (from == 0) continue;
    EXPECT_EQ(FillLevelOf(from - 1), Number(row[0]) + 1);
  }
}

TEST_F(FormatDocument, TemplatesHaveTheColumnsOfTheCode) {
  const std::vector<Row> rows = RowsOf("nid", "columns");
  EXPECT_EQ(rows.size(), TemplateTables().size());
  for (const Row& row : rows) {
    std::string columns;
    for (const PropTag tag : TemplateColumns(NodeId(static_cast<std::uint32_t>(Number(row[0]))))) {
      columns += (columns.empty() ? "" : " ") + ToString(tag);
    }
    EXPECT_EQ(row[1], columns) << row[0];
  }
}

}  // namespace
}  // namespace parvane::pstfile
