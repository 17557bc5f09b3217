// Our declarations of Extended MAPI against those of the system's headers: what this file asserts
// about values, sizes, offsets and parameters fails at compile time.
#include <array>
#include <cstring>
#include <string>
#include <string_view>

#include "mapi/mapi.h"

namespace {
#include "our_values.inc"
}  // namespace

// Ours come first: theirs define the same names as macros. MAPI's identifiers are defined here.
// clang-format off
#include <windows.h>
#include <initguid.h>
#define USES_IID_IMAPISession
#define USES_IID_IMAPITable
#define USES_IID_IMAPIProp
#define USES_IID_IProfSect
#define USES_IID_IMsgStore
#define USES_IID_IMessage
#define USES_IID_IAttachment
#define USES_IID_IAddrBook
#define USES_IID_IMailUser
#define USES_IID_IMAPIContainer
#define USES_IID_IMAPIFolder
#define USES_IID_IProfAdmin
#define USES_IID_IMsgServiceAdmin
#define USES_IID_IStreamDocfile
#define USES_PS_MAPI
#define USES_PS_PUBLIC_STRINGS
#include <mapix.h>
#include <mapiutil.h>
#include <mapitags.h>
#include <mapicode.h>
// clang-format on

#include <gtest/gtest.h>

#include "tests/mapi/slot_of.h"

namespace parvane::mapi {
namespace {

// ---- Values ------------------------------------------------------------------------------------

template <typename Ours, typename Theirs>
constexpr bool SameValue(Ours ours, Theirs theirs) {
  return static_cast<std::uint32_t>(ours) == static_cast<std::uint32_t>(theirs);
}

#include "their_values.inc"
// Not every value of ours is in these old headers, but most are.
constexpr char kCompared[] = ""
#include "compared_values.inc"
    ;
static_assert(sizeof kCompared > 380);

// ---- Structures --------------------------------------------------------------------------------

#define SAME_TYPE(type) \
  static_assert(sizeof(type) == sizeof(::type) && alignof(type) == alignof(::type))
#define SAME_PLACE(type, member)                                      \
  static_assert(offsetof(type, member) == offsetof(::type, member) && \
                sizeof(type::member) == sizeof(::type::member))

SAME_TYPE(GUID);
SAME_TYPE(MAPIUID);
SAME_TYPE(FILETIME);
SAME_TYPE(LARGE_INTEGER);
SAME_TYPE(ENTRYID);
SAME_PLACE(ENTRYID, ab);
SAME_TYPE(MAPIINIT_0);
SAME_PLACE(MAPIINIT_0, ulFlags);
SAME_TYPE(SPropTagArray);
SAME_PLACE(SPropTagArray, aulPropTag);
SAME_TYPE(SBinary);
SAME_PLACE(SBinary, lpb);
SAME_PLACE(SShortArray, lpi);
SAME_PLACE(SLongArray, lpl);
SAME_PLACE(SRealArray, lpflt);
SAME_PLACE(SDoubleArray, lpdbl);
SAME_PLACE(SCurrencyArray, lpcur);
SAME_PLACE(SAppTimeArray, lpat);
SAME_PLACE(SDateTimeArray, lpft);
SAME_PLACE(SBinaryArray, lpbin);
SAME_PLACE(SLPSTRArray, lppszA);
SAME_PLACE(SWStringArray, lppszW);
SAME_PLACE(SGuidArray, lpguid);
SAME_PLACE(SLargeIntegerArray, lpli);
SAME_TYPE(SPropValue);
SAME_PLACE(SPropValue, Value);
SAME_PLACE(SPropValue, Value.b);
SAME_PLACE(SPropValue, Value.ft);
SAME_PLACE(SPropValue, Value.bin);
SAME_PLACE(SPropValue, Value.lpszW);
SAME_PLACE(SPropValue, Value.MVbin);
SAME_PLACE(SPropValue, Value.err);
SAME_TYPE(SPropProblem);
SAME_PLACE(SPropProblem, scode);
SAME_TYPE(SPropProblemArray);
SAME_PLACE(SPropProblemArray, aProblem);
SAME_TYPE(SRow);
SAME_PLACE(SRow, lpProps);
SAME_TYPE(SRowSet);
SAME_PLACE(SRowSet, aRow);
SAME_TYPE(ADRENTRY);
SAME_PLACE(ADRENTRY, rgPropVals);
SAME_TYPE(ADRLIST);
SAME_PLACE(ADRLIST, aEntries);
SAME_TYPE(MAPINAMEID);
SAME_PLACE(MAPINAMEID, ulKind);
SAME_PLACE(MAPINAMEID, Kind.lpwstrName);
SAME_TYPE(FLATENTRY);
SAME_PLACE(FLATENTRY, abEntry);
SAME_TYPE(FLATENTRYLIST);
SAME_PLACE(FLATENTRYLIST, abEntries);
SAME_TYPE(MAPIERROR);
SAME_PLACE(MAPIERROR, lpszComponent);
SAME_PLACE(MAPIERROR, ulContext);
SAME_TYPE(SSortOrderSet);
SAME_PLACE(SSortOrderSet, aSort);
SAME_TYPE(SRestriction);
SAME_PLACE(SRestriction, res);
SAME_PLACE(SRestriction, res.resContent.lpProp);
SAME_PLACE(SRestriction, res.resComment.lpProp);
SAME_PLACE(SRestriction, res.resSub.lpRes);
SAME_TYPE(STATSTG);
SAME_PLACE(STATSTG, cbSize);
SAME_PLACE(STATSTG, grfMode);
SAME_PLACE(STATSTG, clsid);

// ---- Methods and functions ---------------------------------------------------------------------

// What a call hands over: how wide each parameter is and whether it is a pointer, the result first.
// Long enough for the longest list.
using Shape = std::array<unsigned, 16>;

template <typename T>
constexpr unsigned WidthOf() {
  if constexpr (std::is_void_v<T>) {
    return 0;
  } else if constexpr (std::is_reference_v<T>) {
    return 2 * sizeof(void*) + 1;
  } else {
    return 2 * sizeof(T) + std::is_pointer_v<T>;
  }
}
template <typename Result, typename Face, typename... Parameters>
constexpr Shape ShapeOf(Result (Face::*)(Parameters...)) {
  return {WidthOf<Result>(), WidthOf<Parameters>()...};
}
template <typename Result, typename... Parameters>
constexpr Shape ShapeOf(Result (*)(Parameters...)) {
  return {WidthOf<Result>(), WidthOf<Parameters>()...};
}

// The old headers have 32 bits for window handles, connections, message tokens and bookmarks; ours
// have as many as a pointer, as they should. How many such parameters these methods have:
struct Narrow {
  std::string_view method;
  unsigned parameters;
};
constexpr Narrow kNarrowThere[] = {
    {"IMAPIProp::CopyTo", 1},         {"IMAPIProp::CopyProps", 1},
    {"IMAPIFolder::CopyMessages", 1}, {"IMAPIFolder::DeleteMessages", 1},
    {"IMAPIFolder::CopyFolder", 1},   {"IMAPIFolder::DeleteFolder", 1},
    {"IMAPIFolder::SetReadFlags", 1}, {"IMAPIFolder::EmptyFolder", 1},
    {"IMessage::DeleteAttach", 1},    {"IMsgStore::Unadvise", 1},
    {"IMAPITable::Unadvise", 1},      {"IMAPITable::SeekRow", 1},
    {"IMAPITable::FindRow", 1},       {"IMAPITable::FreeBookmark", 1},
    {"IMAPISession::Unadvise", 1},    {"IMAPISession::ShowForm", 1},
    {"IAddrBook::Unadvise", 1},
};

constexpr bool SameShape(std::string_view name, const Shape& ours, const Shape& theirs) {
  unsigned narrow = 0;
  for (std::size_t i = 0; i < ours.size(); ++i) {
    if (ours[i] == theirs[i]) continue;
    if (ours[i] != 2 * sizeof(std::uintptr_t) || theirs[i] != 2 * sizeof(ULONG)) return false;
    ++narrow;
  }
  for (const Narrow& known : kNarrowThere) {
    if (known.method == name) return narrow == known.parameters;
  }
  return narrow == 0;
}

#define METHOD(face, method, slot)                                                               \
  static_assert(SameShape(#face "::" #method, ShapeOf(&face::method), ShapeOf(&::face::method)), \
                #face "::" #method);
#include "tests/mapi/methods.inc"
#undef METHOD

#define SAME_FUNCTION(name) \
  static_assert(ShapeOf(EntryPoints{}.name) == ShapeOf(static_cast<decltype(&::name)>(nullptr)))
SAME_FUNCTION(MAPIInitialize);
SAME_FUNCTION(MAPIUninitialize);
SAME_FUNCTION(MAPIAdminProfiles);
SAME_FUNCTION(MAPIAllocateBuffer);
SAME_FUNCTION(MAPIAllocateMore);
SAME_FUNCTION(MAPIFreeBuffer);
SAME_FUNCTION(FreeProws);
SAME_FUNCTION(MAPILogonEx);

// Slots and identifiers have no compile-time form in their headers.

TEST(SystemHeaders, MethodsStandInTheSameSlots) {
#define METHOD(face, method, slot) \
  EXPECT_EQ(SlotOf(&face::method), SlotOf(&::face::method)) << #face "::" #method;
#include "tests/mapi/methods.inc"
#undef METHOD
}

TEST(SystemHeaders, IdentifiersAreTheSame) {
#define IDENTIFIER(name) \
  { #name, name, ::name }
  const struct {
    const char* name;
    GUID ours;
    ::GUID theirs;
  } identifiers[] = {
      IDENTIFIER(IID_IUnknown),          IDENTIFIER(IID_IStream),
      IDENTIFIER(IID_IMAPISession),      IDENTIFIER(IID_IMAPITable),
      IDENTIFIER(IID_IMAPIProp),         IDENTIFIER(IID_IProfSect),
      IDENTIFIER(IID_IMsgStore),         IDENTIFIER(IID_IMessage),
      IDENTIFIER(IID_IAttachment),       IDENTIFIER(IID_IAddrBook),
      IDENTIFIER(IID_IMailUser),         IDENTIFIER(IID_IMAPIContainer),
      IDENTIFIER(IID_IMAPIFolder),       IDENTIFIER(IID_IProfAdmin),
      IDENTIFIER(IID_IMsgServiceAdmin),  IDENTIFIER(IID_IStreamDocfile),
      IDENTIFIER(IID_ISequentialStream), IDENTIFIER(PS_MAPI),
      IDENTIFIER(PS_PUBLIC_STRINGS),
  };
  for (const auto& identifier : identifiers) {
    EXPECT_EQ(std::memcmp(&identifier.ours, &identifier.theirs, sizeof(GUID)), 0)
        << identifier.name;
  }
}

}  // namespace
}  // namespace parvane::mapi
