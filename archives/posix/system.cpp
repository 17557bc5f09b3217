#include "archives/system.h"

#include <archive.h>
#include <archive_entry.h>
#include <locale.h>

#include "platform/code_pages/code_page.h"
#include "platform/text.h"

namespace parvane::archives {
namespace {

// That of the first zip programs; what does not say that it is UTF-8, and is not, is in it.
constexpr unsigned kCodePageOfDos = 437;

// The library keeps names in the character set of the thread's locale, which would be ASCII.
class Utf8Names {
 public:
  Utf8Names() : _before(Locale() == locale_t{} ? locale_t{} : uselocale(Locale())) {}
  ~Utf8Names() {
    if (_before != locale_t{}) uselocale(_before);
  }
  Utf8Names(const Utf8Names&) = delete;
  Utf8Names& operator=(const Utf8Names&) = delete;

 private:
  static locale_t Locale() {
    static const locale_t kLocale = [] {
      for (const char* name : {"C.UTF-8", "en_US.UTF-8"}) {
        if (const locale_t made = newlocale(LC_CTYPE_MASK, name, locale_t{}); made != locale_t{})
          return made;
      }
      return locale_t{};
    }();
    return kLocale;
  }

  locale_t _before;
};

}  // namespace

bool HasCompression(Packing packing) {
  switch (packing) {
    case Packing::kGzip:
      return archive_zlib_version() != nullptr;
    case Packing::kBzip2:
      return archive_bzlib_version() != nullptr;
    case Packing::kXz:
      return archive_liblzma_version() != nullptr;
    case Packing::kZstd:
      return archive_libzstd_version() != nullptr;
    default:
      return false;
  }
}

void SupportCompression(archive* reader, Packing packing) {
  // What is not built in would be left to a program of that name, wherever it comes from.
  if (!HasCompression(packing)) return;
  if (packing == Packing::kGzip) archive_read_support_filter_gzip(reader);
  if (packing == Packing::kBzip2) archive_read_support_filter_bzip2(reader);
  if (packing == Packing::kXz) archive_read_support_filter_xz(reader);
  if (packing == Packing::kZstd) archive_read_support_filter_zstd(reader);
}

void PrepareNames(archive*) {}

int NextHeader(archive* reader, archive_entry** entry) {
  const Utf8Names names;
  return archive_read_next_header(reader, entry);
}

std::u16string NameOfEntry(archive_entry* entry) {
  const Utf8Names names;
  const char* name = archive_entry_pathname(entry);
  if (name == nullptr) return {};
  if (platform::IsValidUtf8(name)) return platform::Utf8ToUtf16(name);
  std::u16string text;
  platform::DecodeCodePage(kCodePageOfDos, name, text);
  return text;
}

}  // namespace parvane::archives
