#include "sources/state/mozilla_flags.h"

namespace parvane::sources {
namespace {

constexpr std::uint32_t kRead = 0x0001;
constexpr std::uint32_t kReplied = 0x0002;
constexpr std::uint32_t kMarked = 0x0004;
constexpr std::uint32_t kExpunged = 0x0008;
constexpr std::uint32_t kPartial = 0x0400;
constexpr std::uint32_t kQueued = 0x0800;
constexpr std::uint32_t kForwarded = 0x1000;
constexpr std::uint32_t kImapDeleted = 0x00200000;
constexpr std::uint32_t kTemplate = 0x01000000;
constexpr unsigned kLabelShift = 25;
constexpr std::uint32_t kLabelMask = 7;

}  // namespace

void ReadMozillaFlags(std::uint32_t flags, engine::StateOrigin origin,
                      engine::MessageState& state) {
  const auto has = [flags](std::uint32_t bits) { return (flags & bits) != 0; };
  state.read.Learn(has(kRead), origin);
  state.replied.Learn(has(kReplied), origin);
  state.forwarded.Learn(has(kForwarded), origin);
  state.flagged.Learn(has(kMarked), origin);
  state.deleted.Learn(has(kExpunged | kImapDeleted), origin);
  if (has(kQueued | kTemplate)) state.draft.Learn(true, origin);
  state.partial |= has(kPartial);
}

std::uint32_t OldLabelIn(std::uint32_t flags) { return flags >> kLabelShift & kLabelMask; }

std::string_view OldLabel(std::uint32_t number) {
  constexpr std::string_view kLabels[] = {"",        "$label1", "$label2",
                                          "$label3", "$label4", "$label5"};
  return number < std::size(kLabels) ? kLabels[number] : std::string_view();
}

}  // namespace parvane::sources
