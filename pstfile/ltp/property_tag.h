// Property tags: a 16-bit id and a 16-bit type ([MS-OXCDATA] 2.11.1), and how the PST format
// stores each type.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>

namespace parvane::pstfile {

enum class PropType : std::uint16_t {
  kUnspecified = 0x0000,
  kNull = 0x0001,
  kInt16 = 0x0002,
  kInt32 = 0x0003,
  kFloat32 = 0x0004,
  kFloat64 = 0x0005,
  kCurrency = 0x0006,
  kAppTime = 0x0007,
  kError = 0x000A,
  kBoolean = 0x000B,
  kObject = 0x000D,
  kInt64 = 0x0014,
  kString8 = 0x001E,
  kUnicode = 0x001F,
  kTime = 0x0040,
  kGuid = 0x0048,
  kBinary = 0x0102,
  kMultiInt16 = 0x1002,
  kMultiInt32 = 0x1003,
  kMultiFloat32 = 0x1004,
  kMultiFloat64 = 0x1005,
  kMultiCurrency = 0x1006,
  kMultiAppTime = 0x1007,
  kMultiInt64 = 0x1014,
  kMultiString8 = 0x101E,
  kMultiUnicode = 0x101F,
  kMultiTime = 0x1040,
  kMultiGuid = 0x1048,
  kMultiBinary = 0x1102,
};

struct PropTag {
  std::uint32_t value = 0;

  constexpr PropTag() = default;
  constexpr explicit PropTag(std::uint32_t tag) : value(tag) {}
  constexpr PropTag(std::uint16_t id, PropType type)
      : value((std::uint32_t{id} << 16) | static_cast<std::uint16_t>(type)) {}
  constexpr std::uint16_t Id() const { return static_cast<std::uint16_t>(value >> 16); }
  constexpr PropType Type() const { return static_cast<PropType>(value & 0xFFFF); }
  friend constexpr auto operator<=>(PropTag, PropTag) = default;
};
// "0037001F".
std::string ToString(PropTag tag);

// Bytes of a value of fixed size (1, 2, 4, 8 or 16), 0 for every other type.
constexpr std::size_t FixedSize(PropType type) {
  // By type: asked for every value, in no order that a branch could be predicted by.
  constexpr auto kSizes = [] {
    std::array<std::uint8_t, static_cast<std::size_t>(PropType::kGuid) + 1> sizes{};
    const auto set = [&sizes](PropType of, std::uint8_t size) {
      sizes[static_cast<std::size_t>(of)] = size;
    };
    set(PropType::kBoolean, 1);
    set(PropType::kInt16, 2);
    for (const PropType of : {PropType::kInt32, PropType::kFloat32, PropType::kError}) set(of, 4);
    for (const PropType of : {PropType::kFloat64, PropType::kCurrency, PropType::kAppTime,
                              PropType::kInt64, PropType::kTime}) {
      set(of, 8);
    }
    set(PropType::kGuid, 16);
    return sizes;
  }();
  const auto index = static_cast<std::size_t>(type);
  return index < kSizes.size() ? kSizes[index] : 0;
}
// A number of at most 8 bytes: such a value travels as 64 raw bits.
constexpr bool IsScalar(PropType type) {
  const std::size_t size = FixedSize(type);
  return size != 0 && size <= 8;
}
constexpr bool IsMultiValue(PropType type) {
  return (static_cast<std::uint16_t>(type) & 0x1000) != 0;
}
// Bytes of one element of a multi-value of fixed-size elements, else 0.
constexpr std::size_t ElementSize(PropType type) {
  if (!IsMultiValue(type)) return 0;
  return FixedSize(static_cast<PropType>(static_cast<std::uint16_t>(type) & ~0x1000));
}
// The types the format can store; any other type is refused by the writers.
constexpr bool IsStorable(PropType type) {
  if (FixedSize(type) != 0 || ElementSize(type) > 1) return true;
  constexpr PropType kOthers[] = {
      PropType::kUnicode,      PropType::kBinary,       PropType::kString8,    PropType::kObject,
      PropType::kMultiString8, PropType::kMultiUnicode, PropType::kMultiBinary};
  for (const PropType other : kOthers) {
    if (type == other) return true;
  }
  return false;
}

// Tags the store itself reads or computes.
namespace tags {
inline constexpr PropTag kMessageClass{0x001A001F};
inline constexpr PropTag kSubject{0x0037001F};
inline constexpr PropTag kConversationIndex{0x00710102};
inline constexpr PropTag kRecipientType{0x0C150003};
inline constexpr PropTag kMessageFlags{0x0E070003};
inline constexpr PropTag kMessageSize{0x0E080003};
inline constexpr PropTag kMessageStatus{0x0E170003};
inline constexpr PropTag kAttachSize{0x0E200003};
inline constexpr PropTag kReplVersionHistory{0x0E340102};
inline constexpr PropTag kReplFlags{0x0E380003};
inline constexpr PropTag kRecordKey{0x0FF90102};
inline constexpr PropTag kDisplayName{0x3001001F};
inline constexpr PropTag kComment{0x3004001F};
inline constexpr PropTag kCreationTime{0x30070040};
inline constexpr PropTag kLastModificationTime{0x30080040};
inline constexpr PropTag kSearchKey{0x300B0102};
inline constexpr PropTag kConversationId{0x30130102};
inline constexpr PropTag kValidFolderMask{0x35DF0003};
inline constexpr PropTag kIpmSubtreeEntryId{0x35E00102};
inline constexpr PropTag kIpmWastebasketEntryId{0x35E30102};
inline constexpr PropTag kFinderEntryId{0x35E70102};
inline constexpr PropTag kContentCount{0x36020003};
inline constexpr PropTag kContentUnreadCount{0x36030003};
inline constexpr PropTag kSubfolders{0x360A000B};
inline constexpr PropTag kContainerClass{0x3613001F};
inline constexpr PropTag kAttachDataBinary{0x37010102};
inline constexpr PropTag kAttachDataObject{0x3701000D};
inline constexpr PropTag kAttachMethod{0x37050003};
inline constexpr PropTag kRenderingPosition{0x370B0003};
inline constexpr PropTag kPstHiddenCount{0x66350003};
inline constexpr PropTag kPstHiddenUnread{0x66360003};
inline constexpr PropTag kLtpRowId{0x67F20003};
inline constexpr PropTag kLtpRowVersion{0x67F30003};
inline constexpr PropTag kPstPassword{0x67FF0003};
}  // namespace tags

}  // namespace parvane::pstfile
