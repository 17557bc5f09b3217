// Wide paths.
//
// Paths are UTF-16. Off Windows they stand for byte strings: valid UTF-8 is decoded, and every
// other byte b becomes the lone surrogate U+DC00 + b, so that any file name survives the round
// trip. "/" separates (and "\" too on Windows).
#pragma once

#include <string>
#include <string_view>

namespace parvane::platform {

#ifdef _WIN32
inline constexpr char16_t kPathSeparator = u'\\';
#else
inline constexpr char16_t kPathSeparator = u'/';
#endif

// The byte string behind a path (off Windows) and back.
std::string PathToNative(std::u16string_view path);
std::u16string PathFromNative(std::string_view native);
// For messages: UTF-8, bytes that are none shown as U+FFFD.
std::string PathForDisplay(std::u16string_view path);

std::u16string JoinPath(std::u16string_view folder, std::u16string_view name);
// The last component; trailing separators are skipped first.
std::u16string FileNameOfPath(std::u16string_view path);
// From the last "." of the last component, that dot included; empty when there is none. A name
// that begins with its only dot (".profile") is all extension.
std::u16string ExtensionOfPath(std::u16string_view path);
// The last component without its extension.
std::u16string StemOfPath(std::u16string_view path);
// Everything before the last component, without its separator; "." when there is nothing.
std::u16string ParentOfPath(std::u16string_view path);

}  // namespace parvane::platform
