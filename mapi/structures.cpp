// The published layout of the structures, checked where pointers have 64 bits.
#include "mapi/structures.h"

namespace parvane::mapi {
namespace {

// `kWide` keeps the assertions out of 32-bit builds, whose layout is published too but differs.
template <bool kWide = sizeof(void*) == 8>
constexpr bool LayoutHolds() {
  if constexpr (kWide) {
    static_assert(offsetof(ENTRYID, ab) == 4 && alignof(ENTRYID) == 1);
    static_assert(sizeof(MAPIINIT_0) == 8 && alignof(MAPIINIT_0) == 4);
    static_assert(offsetof(MAPIINIT_0, ulFlags) == 4);
    static_assert(offsetof(SPropTagArray, aulPropTag) == 4 && alignof(SPropTagArray) == 4);
    static_assert(sizeof(SizedSPropTagArray<3>) == NewSizeSPropTagArray(3));
    static_assert(sizeof(SBinary) == 16 && alignof(SBinary) == 8 && offsetof(SBinary, lpb) == 8);
    static_assert(sizeof(SShortArray) == 16 && offsetof(SShortArray, lpi) == 8);
    static_assert(sizeof(SLongArray) == 16 && offsetof(SLongArray, lpl) == 8);
    static_assert(sizeof(SRealArray) == 16 && offsetof(SRealArray, lpflt) == 8);
    static_assert(sizeof(SDoubleArray) == 16 && offsetof(SDoubleArray, lpdbl) == 8);
    static_assert(sizeof(SCurrencyArray) == 16 && offsetof(SCurrencyArray, lpcur) == 8);
    static_assert(sizeof(SAppTimeArray) == 16 && offsetof(SAppTimeArray, lpat) == 8);
    static_assert(sizeof(SDateTimeArray) == 16 && offsetof(SDateTimeArray, lpft) == 8);
    static_assert(sizeof(SBinaryArray) == 16 && offsetof(SBinaryArray, lpbin) == 8);
    static_assert(sizeof(SLPSTRArray) == 16 && offsetof(SLPSTRArray, lppszA) == 8);
    static_assert(sizeof(SWStringArray) == 16 && offsetof(SWStringArray, lppszW) == 8);
    static_assert(sizeof(SGuidArray) == 16 && offsetof(SGuidArray, lpguid) == 8);
    static_assert(sizeof(SLargeIntegerArray) == 16 && offsetof(SLargeIntegerArray, lpli) == 8);
    static_assert(sizeof(SPropUnion) == 16 && alignof(SPropUnion) == 8);
    static_assert(sizeof(SPropValue) == 24 && alignof(SPropValue) == 8);
    static_assert(offsetof(SPropValue, dwAlignPad) == 4 && offsetof(SPropValue, Value) == 8);
    static_assert(sizeof(SPropProblem) == 12 && alignof(SPropProblem) == 4);
    static_assert(offsetof(SPropProblem, ulPropTag) == 4 && offsetof(SPropProblem, scode) == 8);
    static_assert(offsetof(SPropProblemArray, aProblem) == 4 && alignof(SPropProblemArray) == 4);
    static_assert(sizeof(SRow) == 16 && alignof(SRow) == 8);
    static_assert(offsetof(SRow, cValues) == 4 && offsetof(SRow, lpProps) == 8);
    static_assert(sizeof(ADRENTRY) == 16 && alignof(ADRENTRY) == 8);
    static_assert(offsetof(ADRENTRY, cValues) == 4 && offsetof(ADRENTRY, rgPropVals) == 8);
    static_assert(offsetof(SRowSet, aRow) == 8 && offsetof(ADRLIST, aEntries) == 8);
    static_assert(sizeof(SRowSet) == NewSizeSRowSet(1) && sizeof(ADRLIST) == NewSizeADRLIST(1));
    static_assert(sizeof(MAPINAMEID) == 24 && alignof(MAPINAMEID) == 8);
    static_assert(offsetof(MAPINAMEID, ulKind) == 8 && offsetof(MAPINAMEID, Kind) == 16);
    static_assert(offsetof(FLATENTRY, abEntry) == 4 && alignof(FLATENTRY) == 4);
    static_assert(offsetof(FLATENTRYLIST, cbEntries) == 4 && alignof(FLATENTRYLIST) == 4);
    static_assert(offsetof(FLATENTRYLIST, abEntries) == 8);
    static_assert(sizeof(MAPIERROR) == 32 && alignof(MAPIERROR) == 8);
    static_assert(offsetof(MAPIERROR, lpszError) == 8 && offsetof(MAPIERROR, lpszComponent) == 16);
    static_assert(offsetof(MAPIERROR, ulLowLevelError) == 24);
    static_assert(offsetof(MAPIERROR, ulContext) == 28);
    static_assert(sizeof(SSortOrder) == 8 && alignof(SSortOrder) == 4);
    static_assert(offsetof(SSortOrder, ulOrder) == 4);
    static_assert(offsetof(SSortOrderSet, cCategories) == 4);
    static_assert(offsetof(SSortOrderSet, cExpanded) == 8 && offsetof(SSortOrderSet, aSort) == 12);
    static_assert(alignof(SSortOrderSet) == 4 && sizeof(SSortOrderSet) == 20);
    static_assert(sizeof(SRestriction) == 32 && alignof(SRestriction) == 8);
    static_assert(offsetof(SRestriction, res) == 8 && sizeof(SCommentRestriction) == 24);
    static_assert(sizeof(STATSTG) == 80 && alignof(STATSTG) == 8);
    static_assert(offsetof(STATSTG, type) == 8 && offsetof(STATSTG, cbSize) == 16);
    static_assert(offsetof(STATSTG, mtime) == 24 && offsetof(STATSTG, ctime) == 32);
    static_assert(offsetof(STATSTG, atime) == 40 && offsetof(STATSTG, grfMode) == 48);
    static_assert(offsetof(STATSTG, grfLocksSupported) == 52 && offsetof(STATSTG, clsid) == 56);
    static_assert(offsetof(STATSTG, grfStateBits) == 72 && offsetof(STATSTG, reserved) == 76);
  }
  return true;
}
static_assert(LayoutHolds());

}  // namespace
}  // namespace parvane::mapi
