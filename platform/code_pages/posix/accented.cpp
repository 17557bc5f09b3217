#include <unicode/unorm2.h>

#include "platform/code_pages/posix/multi_byte.h"
#include "platform/code_pages/posix/single_byte_tables.h"

namespace parvane::platform {
namespace {

constexpr unsigned kT61 = 20261;
constexpr char16_t kReplacement = 0xFFFD;

// The accents, by byte from C1: as a combining character, and standing over a space.
struct Accent {
  char16_t combining;
  char16_t alone;
};
constexpr Accent kAccents[] = {
    {0x0300, u'`'},   {0x0301, 0x00B4}, {0x0302, u'^'},   {0x0303, u'~'},   {0x0304, 0x00AF},
    {0x0306, 0x02D8}, {0x0307, 0x02D9}, {0x0308, 0x00A8}, {0x0308, 0x00A8}, {0x030A, 0x02DA},
    {0x0327, 0x00B8}, {0x0332, u'_'},   {0x030B, 0x02DD}, {0x0328, 0x02DB}, {0x030C, 0x02C7}};
constexpr unsigned char kFirstAccent = 0xC1;
constexpr unsigned char kLastAccent = 0xCF;
// The dollar sign's own place until the standard of 1994 left it free.
constexpr unsigned char kDollar = 0xA4;

const char16_t* HighHalf(unsigned codePage) { return codePage == kT61 ? kT61High : kIso6937High; }

const UNormalizer2* Normalizer() {
  UErrorCode error = U_ZERO_ERROR;
  const UNormalizer2* normalizer = unorm2_getNFCInstance(&error);
  return U_SUCCESS(error) ? normalizer : nullptr;
}

bool EncodePlain(unsigned codePage, char32_t character, std::string& out) {
  if (character < 0x80) {
    out += static_cast<char>(character);
    return true;
  }
  const char16_t* high = HighHalf(codePage);
  for (unsigned i = 0; i < 128; ++i) {
    if (high[i] == character && high[i] != kReplacement) {
      out += static_cast<char>(0x80 + i);
      return true;
    }
  }
  return false;
}

}  // namespace

std::size_t AccentedDecode(unsigned codePage, std::string_view bytes, std::u16string& out) {
  const char16_t* high = HighHalf(codePage);
  const UNormalizer2* const normalizer = Normalizer();
  std::size_t invalid = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (byte == kDollar) {
      out += u'$';
      continue;
    }
    if (byte < kFirstAccent || byte > kLastAccent) {
      const char16_t character = byte < 0x80 ? byte : high[byte - 0x80];
      invalid += character == kReplacement ? 1 : 0;
      out += character;
      continue;
    }
    const char next = i + 1 < bytes.size() ? bytes[i + 1] : '\0';
    const Accent& accent = kAccents[byte - kFirstAccent];
    if (next == ' ') {
      out += accent.alone;
      ++i;
    } else if ((next >= 'A' && next <= 'Z') || (next >= 'a' && next <= 'z')) {
      const UChar32 composed =
          normalizer == nullptr ? -1 : unorm2_composePair(normalizer, next, accent.combining);
      if (composed >= 0) {
        out += static_cast<char16_t>(composed);
      } else {
        out += static_cast<char16_t>(next);
        out += accent.combining;
      }
      ++i;
    } else {
      out += kReplacement;
      ++invalid;
    }
  }
  return invalid;
}

std::size_t AccentedEncode(unsigned codePage, std::u16string_view text, std::string& out) {
  const UNormalizer2* const normalizer = Normalizer();
  return EncodeEach(text, out, [&](std::u16string_view one, std::string& to) {
    if (one.size() != 1) return false;
    if (EncodePlain(codePage, one[0], to)) return true;
    for (unsigned char byte = kFirstAccent; byte <= kLastAccent; ++byte) {
      const Accent& accent = kAccents[byte - kFirstAccent];
      if (accent.alone == one[0]) {
        to += static_cast<char>(byte);
        to += ' ';
        return true;
      }
      if (normalizer == nullptr) continue;
      for (char letter = 'A'; letter <= 'z'; ++letter) {
        if (unorm2_composePair(normalizer, letter, accent.combining) == one[0]) {
          to += static_cast<char>(byte);
          to += letter;
          return true;
        }
      }
    }
    return false;
  });
}

}  // namespace parvane::platform
