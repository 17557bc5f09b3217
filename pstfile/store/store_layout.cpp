#include "pstfile/store/store_layout.h"

#include <utility>

#include "pstfile/store/name_map.h"

namespace parvane::pstfile {
namespace {

template <std::size_t N>
constexpr std::array<PropTag, N> Tags(const std::uint32_t (&values)[N]) {
  std::array<PropTag, N> tags;
  for (std::size_t i = 0; i < N; ++i) tags[i] = PropTag(values[i]);
  return tags;
}

constexpr auto kHierarchy =
    Tags({0x3001001F, 0x36020003, 0x36030003, 0x360A000B, 0x0E300102, 0x0E330014, 0x0E340102,
          0x0E380003, 0x3613001F, 0x66350003, 0x66360003});
constexpr auto kContents =
    Tags({0x0E170003, 0x001A001F, 0x0E070003, 0x00170003, 0x0042001F, 0x0037001F, 0x0E060040,
          0x00390040, 0x0E080003, 0x0E04001F, 0x0E03001F, 0x0057000B, 0x0058000B, 0x00360003,
          0x10970003, 0x0070001F, 0x00710102, 0x30130102, 0x65C60003, 0x30080040, 0x0E300102,
          0x0E330014, 0x0E340102, 0x0E3D0102, 0x0E3C0102, 0x0E380003});
constexpr auto kView = Tags({0x10800003, 0x10950003, 0x10900003, 0x0E2B0003});
constexpr auto kAssociatedContents =
    Tags({0x0E170003, 0x001A001F, 0x0E070003, 0x3001001F, 0x70030003, 0x70040102, 0x70050102,
          0x7006001F, 0x70070003, 0x6800001F, 0x6803000B, 0x68051003, 0x682F001F});
constexpr auto kSearchContents =
    Tags({0x67F10003, 0x0E05001F, 0x0E170003, 0x001A001F, 0x0E070003, 0x00170003, 0x0042001F,
          0x0037001F, 0x0E060040, 0x0E080003, 0x0E04001F, 0x0E03001F, 0x0057000B, 0x0058000B,
          0x00360003, 0x0E2A000B, 0x30080040});
constexpr auto kReceiveFolders = Tags({0x66050003, 0x001A001F});
constexpr auto kOutgoingQueue = Tags({0x0E140003, 0x0E100003, 0x00390040});
constexpr auto kAttachments = Tags({0x370B0003, 0x0E200003, 0x37050003, 0x3704001F});
constexpr auto kRecipients =
    Tags({0x0E0F000B, 0x3002001F, 0x3003001F, 0x0FFF0102, 0x3001001F, 0x0C150003, 0x300B0102,
          0x0FF90102, 0x0FFE0003, 0x39000003, 0x3A40000B, 0x39FF001F});
constexpr auto kChangeHistory = Tags({0x0E330014, 0x0E370102, 0x0E380003});
constexpr auto kTombstones =
    Tags({0x0E3E0102, 0x0E310102, 0x0E300102, 0x0E380003, 0x0E340102, 0x0E330014, 0x001A001F});
constexpr auto kTombstoneDates = Tags({0x30070040, 0x0E330014});

constexpr std::array<TemplateTable, 11> kTemplates{{
    {kNidHierarchyTableTemplate, kHierarchy},
    {kNidContentsTableTemplate, kContents},
    {kNidAssociatedContentsTableTemplate, kAssociatedContents},
    {kNidSearchContentsTableTemplate, kSearchContents},
    {kNidReceiveFolderTable, kReceiveFolders},
    {kNidOutgoingQueueTable, kOutgoingQueue},
    {kNidAttachmentTable, kAttachments},
    {kNidRecipientTable, kRecipients},
    {kNidChangeHistoryTableTemplate, kChangeHistory},
    {kNidTombstoneTableTemplate, kTombstones},
    {kNidTombstoneDateTableTemplate, kTombstoneDates},
}};

}  // namespace

std::span<const TemplateTable> TemplateTables() { return kTemplates; }

std::vector<PropTag> ContentsColumns(NameMap* names) {
  std::vector<PropTag> columns(kContents.begin(), kContents.end());
  columns.insert(columns.end(), kView.begin(), kView.end());
  if (names == nullptr) return columns;
  // PidNameKeywords and PidLidSmartNoAttach: categories, and whether the paper clip is left out.
  const std::pair<PropertyName, PropType> named[] = {
      {PropertyName::String(kPsPublicStrings, u"Keywords"), PropType::kMultiUnicode},
      {PropertyName::Number(kPsetCommon, 0x8514), PropType::kBoolean}};
  for (const auto& [name, type] : named) {
    auto id = names->IdOf(name);
    if (!id.ok()) id = names->Add(name);
    if (id.ok()) columns.push_back(PropTag(*id, type));
  }
  return columns;
}

std::span<const PropTag> TemplateColumns(NodeId templateNode) {
  for (const TemplateTable& table : kTemplates) {
    if (table.node == templateNode) return table.columns;
  }
  return {};
}

}  // namespace parvane::pstfile
