// Text conversion by Windows code-page number.
//
// The Windows API does the work on Windows, ICU elsewhere, with small tables of our own for the
// pages ICU lacks. A byte that means nothing in its code page becomes U+FFFD and is counted; a
// character the target page lacks becomes '?'.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace parvane::platform {

inline constexpr unsigned kCodePageUtf8 = 65001;
inline constexpr unsigned kCodePageUtf7 = 65000;
inline constexpr unsigned kCodePageUtf16Le = 1200;
inline constexpr unsigned kCodePageUtf16Be = 1201;
inline constexpr unsigned kCodePageWindows1252 = 1252;

// True when text can be converted from and to this code page here.
bool IsCodePageSupported(unsigned codePage);

// Appends the text of `bytes` to `out` and returns how many invalid sequences became U+FFFD. An
// unsupported code page is read as Windows-1252. A byte order mark is kept as U+FEFF, except that
// of UTF-16 and UTF-32, which decides the byte order and is dropped. Linear in the input; converts
// in pieces, so memory beyond `out` is constant. Thread-safe.
std::size_t DecodeCodePage(unsigned codePage, std::string_view bytes, std::u16string& out);

// The same, handing the text on in pieces of some 64 KiB: all of it would take twice the bytes, or
// more. In one piece where a byte's meaning depends on what stands far before it.
void DecodeInPieces(unsigned codePage, std::string_view bytes,
                    const std::function<void(std::u16string_view)>& take);

// The reverse direction; returns how many characters had to be replaced.
std::size_t EncodeCodePage(unsigned codePage, std::u16string_view text, std::string& out);

}  // namespace parvane::platform
