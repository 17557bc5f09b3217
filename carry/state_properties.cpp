#include "carry/state_properties.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "convert/properties/mapi_properties.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/identifiers.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "platform/text.h"

namespace parvane::carry {
namespace {

using namespace mapi;
namespace properties = QuelmarMIMEEngineCommon::OrvMAPIUtilities;

// Verbs and icons: [MS-OXOMSG] 2.2.1.38, [MS-OXOMSG] 2.2.1.39.
struct Verb {
  ULONG verb;
  ULONG icon;
};
constexpr Verb kReplied = {102, 0x105};
constexpr Verb kForwarded = {104, 0x106};

// [MS-OXOFLAG] 2.2.1, 2.2.2.
constexpr ULONG kFlagged = 2;
constexpr ULONG kRed = 6;
constexpr ULONG kToDoItem = 1;
constexpr ULONG kNotStarted = 0;
constexpr const char16_t* kFollowUp = u"Follow up";
// Of what has not been put in order by hand ([MS-OXOFLAG] 2.2.1.14).
constexpr const char16_t* kFirstOrdinal = u"5555555";

// Outlook takes shorter ones only.
constexpr std::size_t kLongestCategory = 255;
constexpr const char16_t* kJunk = u"Junk";
constexpr const char16_t* kDeleted = u"Deleted";

SPropValue TruthOf(ULONG tag, bool value) {
  SPropValue property = properties::NumberOf(tag, 0);
  property.Value.b = value ? 1 : 0;
  return property;
}

ULONG Typed(const SPropTagArray& tags, ULONG index, ULONG type) {
  const ULONG tag = index < tags.cValues ? tags.aulPropTag[index] : 0;
  return PropId(tag) == 0 || PropType(tag) == PT_ERROR ? 0 : PropTag(type, PropId(tag));
}

// What the conversion has written of it.
struct Converted {
  std::u16string subject;
  std::optional<FILETIME> delivered;
};

Converted ConvertedOf(IMAPIProp& message) {
  SizedSPropTagArray<2> wanted = {2, {PR_SUBJECT_W, PR_MESSAGE_DELIVERY_TIME}};
  ULONG count = 0;
  MapiBuffer<SPropValue> values;
  message.GetProps(wanted.get(), MAPI_UNICODE, &count, values.Put());
  Converted converted;
  if (!values || count != 2) return converted;
  if (values[0].ulPropTag == PR_SUBJECT_W) converted.subject = values[0].Value.lpszW;
  if (values[1].ulPropTag == PR_MESSAGE_DELIVERY_TIME) converted.delivered = values[1].Value.ft;
  return converted;
}

std::u16string Shortened(std::u16string name) {
  if (name.size() <= kLongestCategory) return name;
  name.resize(kLongestCategory);
  platform::ReplaceUnpairedSurrogates(name);
  return name;
}

}  // namespace

const StateNames::Tags& StateNames::For(IMAPIProp& object) {
  if (_tags) return *_tags;
  const auto number = [](const GUID& set, LONG id) {
    MAPINAMEID name{};
    name.lpguid = const_cast<GUID*>(&set);
    name.ulKind = MNID_ID;
    name.Kind.lID = id;
    return name;
  };
  std::array<MAPINAMEID, 8> names = {number(PSETID_Common, 0),      number(PSETID_Common, 0x8530),
                                     number(PSETID_Common, 0x85A4), number(PSETID_Task, 0x8101),
                                     number(PSETID_Task, 0x8102),   number(PSETID_Task, 0x811C),
                                     number(PSETID_Common, 0x85A0), number(PSETID_Common, 0x85A1)};
  std::u16string keywords = u"Keywords";
  names[0].lpguid = const_cast<GUID*>(&PS_PUBLIC_STRINGS);
  names[0].ulKind = MNID_STRING;
  names[0].Kind.lpwstrName = keywords.data();
  std::array<MAPINAMEID*, names.size()> pointers{};
  std::ranges::transform(names, pointers.begin(), [](MAPINAMEID& name) { return &name; });
  MapiBuffer<SPropTagArray> tags;
  const HRESULT result = object.GetIDsFromNames(static_cast<ULONG>(pointers.size()),
                                                pointers.data(), MAPI_CREATE, tags.Put());
  if (!tags) {
    NoteRefusal(Failed(result) ? result : MAPI_E_CALL_FAILED, 0);
    static constexpr Tags kNone;
    return kNone;
  }
  _tags = {.keywords = Typed(*tags.get(), 0, PT_MV_UNICODE),
           .flagRequest = Typed(*tags.get(), 1, PT_UNICODE),
           .toDoTitle = Typed(*tags.get(), 2, PT_UNICODE),
           .toDoOrdinalDate = Typed(*tags.get(), 6, PT_SYSTIME),
           .toDoSubOrdinal = Typed(*tags.get(), 7, PT_UNICODE),
           .taskStatus = Typed(*tags.get(), 3, PT_LONG),
           .percentComplete = Typed(*tags.get(), 4, PT_DOUBLE),
           .taskComplete = Typed(*tags.get(), 5, PT_BOOLEAN)};
  return *_tags;
}

void WriteFlagsAndIcon(IMAPIProp& message, const engine::MessageState& state) {
  // What is not known to be read is shown as unread, so that nobody overlooks it.
  const ULONG flags =
      (state.read.Is(true) ? MSGFLAG_READ : 0u) | (state.draft.Is(true) ? MSGFLAG_UNSENT : 0u);
  std::array<SPropValue, 3> values;
  ULONG count = 0;
  // 0 is what the conversion has written, unless the header has told it otherwise.
  if (flags != 0 || state.statusInHeader) {
    values[count++] = properties::NumberOf(PR_MESSAGE_FLAGS, flags);
  }
  if (state.replied.Is(true) || state.forwarded.Is(true)) {
    const Verb& verb = state.replied.Is(true) ? kReplied : kForwarded;
    values[count++] = properties::NumberOf(PR_ICON_INDEX, verb.icon);
    values[count++] = properties::NumberOf(PR_LAST_VERB_EXECUTED, verb.verb);
  }
  if (count > 0) properties::SetProperties(message, count, values.data());
}

void WriteImportance(IMAPIProp& message, engine::Importance importance) {
  const LONG high = importance == engine::Importance::kHigh  ? 1
                    : importance == engine::Importance::kLow ? -1
                                                             : 0;
  SPropValue values[] = {
      properties::NumberOf(PR_IMPORTANCE, static_cast<ULONG>(high + 1)),
      properties::NumberOf(PR_PRIORITY, static_cast<ULONG>(high)),
  };
  properties::SetProperties(message, static_cast<ULONG>(std::size(values)), values);
}

void WriteFollowUp(IMAPIProp& message, StateNames& names) {
  const StateNames::Tags& tags = names.For(message);
  const Converted converted = ConvertedOf(message);
  std::vector<SPropValue> values = {
      properties::NumberOf(PR_FLAG_STATUS, kFlagged),
      properties::NumberOf(PR_FOLLOWUP_ICON, kRed),
      properties::NumberOf(PR_TODO_ITEM_FLAGS, kToDoItem),
      TruthOf(PR_REPLY_REQUESTED, true),
      TruthOf(PR_RESPONSE_REQUESTED, true),
  };
  if (tags.flagRequest) values.push_back(properties::TextOf(tags.flagRequest, kFollowUp));
  if (tags.toDoTitle && !converted.subject.empty()) {
    values.push_back(properties::TextOf(tags.toDoTitle, converted.subject.c_str()));
  }
  // The list of things to do is sorted by it. When the flag was set, nobody tells.
  if (tags.toDoOrdinalDate && converted.delivered) {
    values.push_back(properties::NumberOf(tags.toDoOrdinalDate, 0));
    values.back().Value.ft = *converted.delivered;
  }
  if (tags.toDoSubOrdinal) values.push_back(properties::TextOf(tags.toDoSubOrdinal, kFirstOrdinal));
  if (tags.taskStatus) values.push_back(properties::NumberOf(tags.taskStatus, kNotStarted));
  if (tags.taskComplete) values.push_back(TruthOf(tags.taskComplete, false));
  if (tags.percentComplete) {
    values.push_back(properties::NumberOf(tags.percentComplete, 0));
    values.back().Value.dbl = 0;
  }
  properties::SetProperties(message, static_cast<ULONG>(values.size()), values.data());
}

bool WriteCategories(IMAPIProp& message, const engine::MessageState& state, StateNames& names) {
  std::vector<std::u16string> categories;
  const auto add = [&](std::u16string name) {
    const auto same = [&](const std::u16string& known) {
      return platform::EqualsIgnoreCase(known, name);
    };
    if (!std::ranges::any_of(categories, same)) categories.push_back(std::move(name));
  };
  if (state.categories.value) {
    for (const std::u16string& name : *state.categories.value) add(Shortened(name));
  }
  if (state.junk.Is(true)) add(kJunk);
  if (state.deleted.Is(true)) add(kDeleted);
  if (categories.empty()) return false;
  const ULONG tag = names.For(message).keywords;
  if (tag) properties::SetPropMVString(&message, tag, categories);
  return tag != 0;
}

}  // namespace parvane::carry
