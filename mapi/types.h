// Scalars and identifiers of Extended MAPI and COM, as published, in this project's namespace.
//
// Widths are those of the published 64-bit headers: LONG and ULONG have 32 bits everywhere, a wide
// character is a UTF-16 unit, pointers-as-numbers (ULONG_PTR, BOOKMARK) have a pointer's width.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/abi.h"
#include "platform/time.h"

namespace parvane::mapi {

using BYTE = std::uint8_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using DWORD = std::uint32_t;
using BOOL = std::int32_t;
using HRESULT = std::int32_t;
using SCODE = std::int32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using ULONG_PTR = std::uintptr_t;
using BOOKMARK = std::uintptr_t;
using WCHAR = char16_t;
using LPSTR = char*;
using LPWSTR = char16_t*;
// A string whose width the flag MAPI_UNICODE of the same call decides: set, it holds UTF-16,
// otherwise characters of the ANSI code page.
using LPTSTR = char*;
using FILETIME = platform::FileTime;

static_assert(sizeof(void*) == sizeof(ULONG_PTR));

union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};

union ULARGE_INTEGER {
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
  ULONGLONG QuadPart;
};

// An amount of money with four decimals.
union CURRENCY {
  struct {
    ULONG Lo;
    LONG Hi;
  } parts;
  LONGLONG int64;
};

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
  friend constexpr bool operator==(const GUID&, const GUID&) = default;
};
using IID = GUID;
using CLSID = GUID;

// The same 16 bytes as a GUID, without its alignment.
struct MAPIUID {
  BYTE ab[16];
  friend constexpr bool operator==(const MAPIUID&, const MAPIUID&) = default;
};

// HRESULTs: negative is failure; positive values are warnings.
constexpr bool Succeeded(HRESULT result) { return result >= 0; }
constexpr bool Failed(HRESULT result) { return result < 0; }

// A string argument as the two widths see it.
inline LPTSTR ToTString(const char16_t* text) {
  return reinterpret_cast<LPTSTR>(const_cast<char16_t*>(text));
}
inline LPTSTR ToTString(const char* text) { return const_cast<char*>(text); }

static_assert(sizeof(GUID) == 16 && alignof(GUID) == 4);
static_assert(sizeof(MAPIUID) == 16 && alignof(MAPIUID) == 1);
static_assert(sizeof(FILETIME) == 8 && alignof(FILETIME) == 4);
static_assert(sizeof(LARGE_INTEGER) == 8 && alignof(LARGE_INTEGER) == alignof(LONGLONG));
static_assert(sizeof(ULARGE_INTEGER) == 8 && sizeof(CURRENCY) == 8 && sizeof(WCHAR) == 2);

}  // namespace parvane::mapi
