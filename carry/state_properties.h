// A message's state as MAPI properties, written as Outlook writes them (docs/state.md has the
// table).
#pragma once

#include <optional>

#include "engine/message_state.h"
#include "mapi/message.h"

namespace parvane::carry {

// The names that Outlook gives to what has no place among the fixed properties, as this store
// numbers them. Asked for once, when a message first needs one.
class StateNames {
 public:
  struct Tags {
    mapi::ULONG keywords = 0;  // categories; 0, here and below: the store has none to give
    mapi::ULONG flagRequest = 0;
    mapi::ULONG toDoTitle = 0;
    mapi::ULONG toDoOrdinalDate = 0;
    mapi::ULONG toDoSubOrdinal = 0;
    mapi::ULONG taskStatus = 0;
    mapi::ULONG percentComplete = 0;
    mapi::ULONG taskComplete = 0;
  };
  const Tags& For(mapi::IMAPIProp& object);

 private:
  std::optional<Tags> _tags;
};

// Who refuses what is noted (mapi/refusals.h).
void WriteFlagsAndIcon(mapi::IMAPIProp& message, const engine::MessageState& state);
void WriteImportance(mapi::IMAPIProp& message, engine::Importance importance);
// The red flag of Outlook, without a date.
void WriteFollowUp(mapi::IMAPIProp& message, StateNames& names);
// Those of the state; "Junk" and "Deleted" for what Outlook has no mark for. False when there is
// none.
bool WriteCategories(mapi::IMAPIProp& message, const engine::MessageState& state,
                     StateNames& names);

}  // namespace parvane::carry
