// Our paths as the system takes them. Only files of this folder include it.
#pragma once

#include <string>
#include <string_view>

namespace parvane::platform {

// The path in the form that lifts the old limit of 260 characters, once it comes near that; empty
// when there can be no such file.
std::wstring ToSystemPath(std::u16string_view path);

// What the system calls an absolute path, in the form people write: without "\\?\".
std::u16string FromSystemPath(std::wstring_view path);

}  // namespace parvane::platform
