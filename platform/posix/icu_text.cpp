#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include "platform/text.h"
#include "platform/utf8.h"

namespace parvane::platform {
namespace {

char32_t FoldCharacter(char32_t c) {
  if (c < 0x80) return c >= U'A' && c <= U'Z' ? c + 32 : c;
  return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(c), U_FOLD_CASE_DEFAULT));
}

// The next character of text (an unpaired surrogate stands for itself).
char32_t Next(std::u16string_view text, std::size_t* at) {
  const char16_t unit = text[(*at)++];
  if (IsHighSurrogate(unit) && *at < text.size() && IsLowSurrogate(text[*at])) {
    return JoinSurrogates(unit, text[(*at)++]);
  }
  return unit;
}

}  // namespace

std::u16string FoldCase(std::u16string_view text) {
  std::u16string out;
  out.reserve(text.size());
  char16_t units[2];
  for (std::size_t at = 0; at < text.size();) {
    out.append(units, PutUtf16(FoldCharacter(Next(text, &at)), units));
  }
  return out;
}

bool EqualsIgnoreCase(std::u16string_view a, std::u16string_view b) {
  std::size_t i = 0;
  std::size_t k = 0;
  while (i < a.size() && k < b.size()) {
    if (FoldCharacter(Next(a, &i)) != FoldCharacter(Next(b, &k))) return false;
  }
  return i == a.size() && k == b.size();
}

std::u16string ToUpper(std::u16string_view text) {
  std::u16string out(text);
  bool ascii = true;
  for (char16_t& unit : out) {
    ascii = ascii && unit < 0x80;
    if (unit >= u'a' && unit <= u'z') unit = static_cast<char16_t>(unit - 32);
  }
  if (ascii) return out;
  UErrorCode error = U_ZERO_ERROR;
  // One character becomes three at most ("\u0390").
  std::u16string upper(text.size() * 3, u'\0');
  const std::int32_t length =
      u_strToUpper(upper.data(), static_cast<std::int32_t>(upper.size()), text.data(),
                   static_cast<std::int32_t>(text.size()), "", &error);
  if (U_FAILURE(error)) return out;
  upper.resize(static_cast<std::size_t>(length));
  return upper;
}

std::u16string ComposeAccents(std::u16string_view text) {
  UErrorCode error = U_ZERO_ERROR;
  const UNormalizer2* const composer = unorm2_getNFCInstance(&error);
  // A character may become three ("\U0001D160").
  std::u16string composed(text.size() * 3, u'\0');
  if (U_FAILURE(error)) return std::u16string(text);
  const std::int32_t length =
      unorm2_normalize(composer, text.data(), static_cast<std::int32_t>(text.size()),
                       composed.data(), static_cast<std::int32_t>(composed.size()), &error);
  if (U_FAILURE(error)) return std::u16string(text);
  composed.resize(static_cast<std::size_t>(length));
  return composed;
}

}  // namespace parvane::platform
