// What the steps beside the conversion have carried onto the message in hand.

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

#include <fmt/format.h>

#include "desk/format.h"
#include "desk/source_witness.h"

namespace parvane::desk {

void SourceWitness::StateCarried(carry::CarriedState carried) {
  if (!_itemOpen) return;
  _carried.stateKept = carried.kept;
  if (carried.forwardedLost) {
    AddRemark({engine::RemarkKind::kStateLost, "forwarded",
               "it was answered too, and a message shows one of both"});
  }
  if (carried.moreCategories > 0) {
    AddRemark({engine::RemarkKind::kStateLost, "categories",
               fmt::format("{} more than a message takes", WithThousands(carried.moreCategories))});
  }
  for (const std::string& keyword : carried.namelessKeywords)
    AddRemark({engine::RemarkKind::kTagNameless, keyword, {}});
  if (carried.partial) AddRemark({engine::RemarkKind::kFetchedInPart, {}, {}});
  std::ranges::move(carried.refusals, std::back_inserter(_itemRefusals));
}

void SourceWitness::WinmailCarried(const carry::CarriedWinmail& carried) {
  if (!_itemOpen) return;
  _carried.winmail = carried;
  for (std::uint32_t i = 0; i < carried.unreadable; ++i)
    AddRemark({engine::RemarkKind::kWinmailKept, "winmail.dat", "it cannot be read"});
  for (std::uint32_t i = 0; i < carried.partly; ++i) {
    AddRemark({engine::RemarkKind::kWinmailKept, "winmail.dat",
               "not all of it could be read; what could is on the message too"});
  }
}

void SourceWitness::AddressesCarried(const carry::AddressFields& fields) {
  if (_itemOpen) _carried.addressesKept = fields;
}

bool SourceWitness::IsKeptAfterAll(const engine::Remark& remark) const {
  if (remark.kind != engine::RemarkKind::kHeaderTextLost) return false;
  const auto* field = std::ranges::find(Tessary::kAddressFields, remark.place);
  return field != Tessary::kAddressFields.end() &&
         _carried.addressesKept.test(
             static_cast<std::size_t>(field - Tessary::kAddressFields.begin()));
}

}  // namespace parvane::desk
