// What a message of a PST is marked with, as lists show it.
#pragma once

#include <string>
#include <vector>

#include "mapi/message_store.h"
#include "mapi/structures.h"

namespace parvane::desk {

struct MessageMarks {
  bool unread = false;
  bool draft = false;
  bool replied = false;
  bool forwarded = false;
  enum class Flag { kNone, kFlagged, kCompleted } flag = Flag::kNone;
  enum class Importance { kLow, kNormal, kHigh } importance = Importance::kNormal;
  std::vector<std::u16string> categories;
};

// The tag of the categories in this PST; 0: nothing in it has any.
mapi::ULONG KeywordsTag(mapi::IMsgStore& store);

// What MarksOf wants to see, appended to tags behind which there is room for so many.
inline constexpr mapi::ULONG kMarkTags = 5;
void AddMarkTags(mapi::SPropTagArray* tags, mapi::ULONG keywords);
MessageMarks MarksOf(const mapi::SRow& row, mapi::ULONG keywords);

}  // namespace parvane::desk
