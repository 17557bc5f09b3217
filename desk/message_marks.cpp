#include "desk/message_marks.h"

#include "desk/pst_session.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/identifiers.h"
#include "mapi/tags.h"

namespace parvane::desk {

using mapi::SPropValue;
using mapi::ULONG;

namespace {

ULONG NumberIn(const mapi::SRow& row, ULONG tag) {
  const SPropValue* property = FindProperty(row, tag);
  return property ? property->Value.ul : 0;
}

}  // namespace

ULONG KeywordsTag(mapi::IMsgStore& store) {
  std::u16string text = u"Keywords";
  mapi::MAPINAMEID name{};
  name.lpguid = const_cast<mapi::GUID*>(&mapi::PS_PUBLIC_STRINGS);
  name.ulKind = mapi::MNID_STRING;
  name.Kind.lpwstrName = text.data();
  mapi::MAPINAMEID* names = &name;
  mapi::MapiBuffer<mapi::SPropTagArray> tags;
  store.GetIDsFromNames(1, &names, 0, tags.Put());
  if (!tags || tags->cValues != 1 || mapi::PropType(tags->aulPropTag[0]) == mapi::PT_ERROR)
    return 0;
  return mapi::PropTag(mapi::PT_MV_UNICODE, mapi::PropId(tags->aulPropTag[0]));
}

void AddMarkTags(mapi::SPropTagArray* tags, ULONG keywords) {
  // The last is a named property, which a PST may have no number for.
  for (const ULONG tag : {mapi::PR_MESSAGE_FLAGS, mapi::PR_IMPORTANCE, mapi::PR_FLAG_STATUS,
                          mapi::PR_LAST_VERB_EXECUTED, keywords}) {
    if (tag != 0) tags->aulPropTag[tags->cValues++] = tag;
  }
}

MessageMarks MarksOf(const mapi::SRow& row, ULONG keywords) {
  constexpr ULONG kCompleted = 1, kFlagged = 2;                   // [MS-OXOFLAG] 2.2.1.1
  constexpr ULONG kReply = 102, kReplyAll = 103, kForward = 104;  // [MS-OXOMSG] 2.2.1.38
  MessageMarks marks;
  const ULONG flags = NumberIn(row, mapi::PR_MESSAGE_FLAGS);
  marks.unread = (flags & mapi::MSGFLAG_READ) == 0;
  marks.draft = (flags & mapi::MSGFLAG_UNSENT) != 0;
  const ULONG flag = NumberIn(row, mapi::PR_FLAG_STATUS);
  if (flag == kCompleted) marks.flag = MessageMarks::Flag::kCompleted;
  if (flag == kFlagged) marks.flag = MessageMarks::Flag::kFlagged;
  const ULONG verb = NumberIn(row, mapi::PR_LAST_VERB_EXECUTED);
  marks.replied = verb == kReply || verb == kReplyAll;
  marks.forwarded = verb == kForward;
  if (const SPropValue* importance = FindProperty(row, mapi::PR_IMPORTANCE)) {
    if (importance->Value.ul == 0) marks.importance = MessageMarks::Importance::kLow;
    if (importance->Value.ul == 2) marks.importance = MessageMarks::Importance::kHigh;
  }
  const SPropValue* names = keywords ? FindProperty(row, keywords) : nullptr;
  for (ULONG i = 0; names && i < names->Value.MVszW.cValues; ++i)
    marks.categories.emplace_back(names->Value.MVszW.lppszW[i]);
  return marks;
}

}  // namespace parvane::desk
