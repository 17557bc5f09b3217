// What differs between the systems: which compressions the library there reads, and how it hands
// out the names of entries.
#pragma once

#include <string>

#include "archives/packing.h"

struct archive;
struct archive_entry;

namespace parvane::archives {

// Whether the library has the compression built in.
bool HasCompression(Packing packing);
// For a reader; nothing where it is not built in.
void SupportCompression(archive* reader, Packing packing);

// To be called before the first header is read.
void PrepareNames(archive* reader);
// archive_read_next_header, in a way that loses no character of a name.
int NextHeader(archive* reader, archive_entry** entry);
std::u16string NameOfEntry(archive_entry* entry);

}  // namespace parvane::archives
