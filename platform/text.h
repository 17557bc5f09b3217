// UTF-16 text and its conversions.
//
// Wide text is UTF-16 in char16_t on every platform: std::u16string owns, std::u16string_view
// looks. Conversions never fail: what cannot be represented becomes U+FFFD (or '?' in an 8-bit
// code page without it).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace parvane::platform {

// Decodes UTF-8; every maximal ill-formed sequence becomes one U+FFFD (Unicode 15, section 3.9).
std::u16string Utf8ToUtf16(std::string_view utf8);
void AppendUtf8AsUtf16(std::string_view utf8, std::u16string& out);
// Encodes as UTF-8; an unpaired surrogate becomes U+FFFD.
std::string Utf16ToUtf8(std::u16string_view text);
void AppendUtf16AsUtf8(std::u16string_view text, std::string& out);

bool IsAscii(std::string_view bytes);
bool IsValidUtf8(std::string_view bytes);

// How well bytes read as UTF-8: the sequences that would become U+FFFD, and the characters of two
// bytes and more that are well formed.
struct Utf8Tally {
  std::size_t invalid = 0;
  std::size_t multiByte = 0;
};
Utf8Tally TallyUtf8(std::string_view bytes);
// AppendUtf8AsUtf16 that also counts.
Utf8Tally AppendUtf8AsUtf16Counted(std::string_view utf8, std::u16string& out);

// Replaces every unpaired surrogate by U+FFFD, in place; true when there was one. Readers of PST
// files drop a whole string that holds one.
bool ReplaceUnpairedSurrogates(std::u16string& text);

// The process's ANSI code page: the system's on Windows, UTF-8 (65001) elsewhere until
// SetAnsiCodePage chooses another, which tests do. Not to be changed while conversions run.
unsigned AnsiCodePage();
void SetAnsiCodePage(unsigned codePage);
std::u16string AnsiToUtf16(std::string_view bytes);
std::string Utf16ToAnsi(std::u16string_view text);

// White space is Unicode's White_Space property, the same under every locale.
bool IsWhiteSpace(char16_t unit);
// The ASCII members of that property: tab, LF, VT, FF, CR, space.
constexpr bool IsAsciiWhiteSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// ASCII only, the same under every locale.
constexpr char AsciiToLower(char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; }
bool EqualsIgnoreAsciiCase(std::string_view a, std::string_view b);
bool StartsWithIgnoreAsciiCase(std::string_view text, std::string_view prefix);
bool EndsWithIgnoreAsciiCase(std::string_view text, std::string_view suffix);
std::string ToLowerAscii(std::string_view text);

// Unicode simple case folding, independent of the locale (so "I" and "i" are equal everywhere).
std::u16string FoldCase(std::u16string_view text);
bool EqualsIgnoreCase(std::u16string_view a, std::u16string_view b);
// Full Unicode upper-casing without a locale.
std::u16string ToUpper(std::u16string_view text);
// Letters and the accents behind them as one character where there is one (Unicode's form C): Macs
// write the names of files the other way.
std::u16string ComposeAccents(std::u16string_view text);

}  // namespace parvane::platform
