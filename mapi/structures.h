// Structures of Extended MAPI, with the published layout (asserted in structures.cpp).
//
// Arrays declared with one element are as long as the count before them says; NewSize...() gives
// the bytes such a structure needs.
#pragma once

#include "mapi/types.h"

namespace parvane::mapi {

class IUnknown;

struct ENTRYID {
  BYTE abFlags[4];
  BYTE ab[1];
};

struct MAPIINIT_0 {
  ULONG ulVersion;
  ULONG ulFlags;
};

struct SPropTagArray {
  ULONG cValues;
  ULONG aulPropTag[1];
};

// A tag array of fixed length that can be initialised in place and passed as an SPropTagArray.
template <ULONG kCount>
struct SizedSPropTagArray {
  ULONG cValues;
  ULONG aulPropTag[kCount];
  SPropTagArray* get() { return reinterpret_cast<SPropTagArray*>(this); }
};

struct SBinary {
  ULONG cb;
  BYTE* lpb;
};

struct SShortArray {
  ULONG cValues;
  std::int16_t* lpi;
};
struct SLongArray {
  ULONG cValues;
  LONG* lpl;
};
struct SRealArray {
  ULONG cValues;
  float* lpflt;
};
struct SDoubleArray {
  ULONG cValues;
  double* lpdbl;
};
struct SCurrencyArray {
  ULONG cValues;
  CURRENCY* lpcur;
};
struct SAppTimeArray {
  ULONG cValues;
  double* lpat;
};
struct SDateTimeArray {
  ULONG cValues;
  FILETIME* lpft;
};
struct SBinaryArray {
  ULONG cValues;
  SBinary* lpbin;
};
struct SLPSTRArray {
  ULONG cValues;
  LPSTR* lppszA;
};
struct SWStringArray {
  ULONG cValues;
  LPWSTR* lppszW;
};
struct SGuidArray {
  ULONG cValues;
  GUID* lpguid;
};
struct SLargeIntegerArray {
  ULONG cValues;
  LARGE_INTEGER* lpli;
};
using ENTRYLIST = SBinaryArray;

// Which member holds the value is decided by the type in the property's tag.
union SPropUnion {
  constexpr SPropUnion() : bin{} {}  // all bytes 0

  std::int16_t i;    // PT_I2
  LONG l;            // PT_LONG
  ULONG ul;          // PT_LONG, seen as unsigned
  float flt;         // PT_R4
  double dbl;        // PT_DOUBLE
  std::uint16_t b;   // PT_BOOLEAN: 0 or not 0, in 16 bits
  CURRENCY cur;      // PT_CURRENCY
  double at;         // PT_APPTIME
  FILETIME ft;       // PT_SYSTIME
  LPSTR lpszA;       // PT_STRING8
  SBinary bin;       // PT_BINARY
  LPWSTR lpszW;      // PT_UNICODE
  GUID* lpguid;      // PT_CLSID
  LARGE_INTEGER li;  // PT_I8
  SShortArray MVi;
  SLongArray MVl;
  SRealArray MVflt;
  SDoubleArray MVdbl;
  SCurrencyArray MVcur;
  SAppTimeArray MVat;
  SDateTimeArray MVft;
  SBinaryArray MVbin;
  SLPSTRArray MVszA;
  SWStringArray MVszW;
  SGuidArray MVguid;
  SLargeIntegerArray MVli;
  SCODE err;  // PT_ERROR
  LONG x;     // PT_NULL, PT_OBJECT: unused
};

struct SPropValue {
  ULONG ulPropTag;
  ULONG dwAlignPad;
  SPropUnion Value;
};

struct SPropProblem {
  ULONG ulIndex;
  ULONG ulPropTag;
  SCODE scode;
};

struct SPropProblemArray {
  ULONG cProblem;
  SPropProblem aProblem[1];
};

struct SRow {
  ULONG ulAdrEntryPad;
  ULONG cValues;
  SPropValue* lpProps;
};

struct SRowSet {
  ULONG cRows;
  SRow aRow[1];
};

struct ADRENTRY {
  ULONG ulReserved1;
  ULONG cValues;
  SPropValue* rgPropVals;
};

struct ADRLIST {
  ULONG cEntries;
  ADRENTRY aEntries[1];
};

struct MAPINAMEID {
  GUID* lpguid;
  ULONG ulKind;  // MNID_ID or MNID_STRING
  union {
    LONG lID;
    LPWSTR lpwstrName;
  } Kind;
};

struct FLATENTRY {
  ULONG cb;
  BYTE abEntry[1];
};

struct FLATENTRYLIST {
  ULONG cEntries;
  ULONG cbEntries;
  BYTE abEntries[1];
};

struct MAPIERROR {
  ULONG ulVersion;
  LPTSTR lpszError;
  LPTSTR lpszComponent;
  ULONG ulLowLevelError;
  ULONG ulContext;
};

struct SSortOrder {
  ULONG ulPropTag;
  ULONG ulOrder;
};

struct SSortOrderSet {
  ULONG cSorts;
  ULONG cCategories;
  ULONG cExpanded;
  SSortOrder aSort[1];
};

struct SRestriction;

struct SAndRestriction {
  ULONG cRes;
  SRestriction* lpRes;
};
struct SOrRestriction {
  ULONG cRes;
  SRestriction* lpRes;
};
struct SNotRestriction {
  ULONG ulReserved;
  SRestriction* lpRes;
};
struct SContentRestriction {
  ULONG ulFuzzyLevel;
  ULONG ulPropTag;
  SPropValue* lpProp;
};
struct SPropertyRestriction {
  ULONG relop;
  ULONG ulPropTag;
  SPropValue* lpProp;
};
struct SComparePropsRestriction {
  ULONG relop;
  ULONG ulPropTag1;
  ULONG ulPropTag2;
};
struct SBitMaskRestriction {
  ULONG relBMR;
  ULONG ulPropTag;
  ULONG ulMask;
};
struct SSizeRestriction {
  ULONG relop;
  ULONG ulPropTag;
  ULONG cb;
};
struct SExistRestriction {
  ULONG ulReserved1;
  ULONG ulPropTag;
  ULONG ulReserved2;
};
struct SSubRestriction {
  ULONG ulSubObject;
  SRestriction* lpRes;
};
struct SCommentRestriction {
  ULONG cValues;
  SRestriction* lpRes;
  SPropValue* lpProp;
};

struct SRestriction {
  ULONG rt;  // RES_...
  union {
    SComparePropsRestriction resCompareProps;
    SAndRestriction resAnd;
    SOrRestriction resOr;
    SNotRestriction resNot;
    SContentRestriction resContent;
    SPropertyRestriction resProperty;
    SBitMaskRestriction resBitMask;
    SSizeRestriction resSize;
    SExistRestriction resExist;
    SSubRestriction resSub;
    SCommentRestriction resComment;
  } res;
};

struct STATSTG {
  LPWSTR pwcsName;
  DWORD type;
  ULARGE_INTEGER cbSize;
  FILETIME mtime;
  FILETIME ctime;
  FILETIME atime;
  DWORD grfMode;
  DWORD grfLocksSupported;
  CLSID clsid;
  DWORD grfStateBits;
  DWORD reserved;
};

// Only passed through as pointers.
struct NOTIFICATION;
struct ADRPARM;

constexpr ULONG NewSizeSPropTagArray(ULONG count) { return 4 + 4 * count; }
constexpr ULONG NewSizeSPropProblemArray(ULONG count) { return 4 + 12 * count; }
constexpr ULONG NewSizeSRowSet(ULONG count) {
  return static_cast<ULONG>(offsetof(SRowSet, aRow) + sizeof(SRow) * count);
}
constexpr ULONG NewSizeADRLIST(ULONG count) { return NewSizeSRowSet(count); }

}  // namespace parvane::mapi
