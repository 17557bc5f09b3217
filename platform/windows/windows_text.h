// Our UTF-16 as the system's, and its errors as ours. Only files of this folder include it.
#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <string>
#include <string_view>

#include <windows.h>

#include "platform/status.h"

namespace parvane::platform {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

inline std::wstring ToWide(std::u16string_view text) { return {text.begin(), text.end()}; }
inline std::u16string FromWide(std::wstring_view text) { return {text.begin(), text.end()}; }

// "cannot <action> <path>: <the system's text>". `error` is GetLastError()'s value.
Status SystemErrorStatus(DWORD error, std::string_view action, std::u16string_view path);

}  // namespace parvane::platform
