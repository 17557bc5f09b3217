// What rewriting an address header loses.
//
// Repair cuts a list at its commas and keeps one name and one address of each piece. In mail that
// was written otherwise a piece has more than that:
//
//   header                            kept          lost
//   "A" <a@x>; "B" <b@x>              "A" <a@x>     B <b@x>
//   boss@x (The Boss)                 boss@x        the name The Boss
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace parvane::sources {

struct AddressLoss {
  std::u16string text;     // a mailbox, or a name alone
  std::u16string address;  // that the name belongs to and that was kept; else empty
};

using TakeAddressLoss = std::function<void(AddressLoss&&)>;

// Calls `take` with all that the rewritten form of `list` (an address header's whole value) does
// not hold. The narrow list is ASCII. Takes little memory, however long the list is.
void FindAddressLosses(std::string_view list, const TakeAddressLoss& take);
void FindAddressLosses(std::u16string_view list, const TakeAddressLoss& take);

}  // namespace parvane::sources
