#include "archives/system.h"

#include <archive.h>
#include <archive_entry.h>

#include "platform/text.h"

namespace parvane::archives {

// The library is built with zlib alone (cmake/windows-cross/FindLibArchive.cmake).
bool HasCompression(Packing packing) { return packing == Packing::kGzip; }

void SupportCompression(archive* reader, Packing packing) {
  if (HasCompression(packing)) archive_read_support_filter_gzip(reader);
}

// Those of zip archives that do not say that they are UTF-8 are in the code page of the system's
// console, as its own programs write them.
void PrepareNames(archive* reader) {
  archive_read_set_format_option(reader, "tar", "hdrcharset", "UTF-8");
}

int NextHeader(archive* reader, archive_entry** entry) {
  return archive_read_next_header(reader, entry);
}

std::u16string NameOfEntry(archive_entry* entry) {
  static_assert(sizeof(wchar_t) == sizeof(char16_t));
  if (const wchar_t* name = archive_entry_pathname_w(entry))
    return reinterpret_cast<const char16_t*>(name);
  const char* bytes = archive_entry_pathname(entry);
  return bytes == nullptr ? std::u16string() : platform::Utf8ToUtf16(bytes);
}

}  // namespace parvane::archives
