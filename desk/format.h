// Numbers, sizes, times and names as people read them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/time.h"

namespace parvane::desk {

// "1,234,567"
std::string WithThousands(std::uint64_t number);
// "1 message", "1,200 messages": `noun` gets an "s" unless the count is one.
std::string Counted(std::uint64_t count, std::string_view noun);
// "512 bytes", "1.2 MB": powers of 1000, as disks are sold.
std::string Size(std::uint64_t bytes);
// The bytes that such a text means: "20GB", "1.5 gb", "512 MiB" (powers of 1024), "1000". Nothing
// when it means none, or more than a file can have.
std::optional<std::uint64_t> ParseSize(std::string_view text);
// "0:07", "12:30", "3:02:11"
std::string Duration(std::uint64_t milliseconds);
// "2019-05-03T06:12:45Z"; empty for zero or a time beyond the calendar.
std::string IsoTime(platform::FileTime time);
// "2019-05-03 06:12", UTC; empty likewise.
std::string ShortTime(platform::FileTime time);
// Folder names joined by " / ".
std::string FolderPath(const std::vector<std::u16string>& path);
// The first character of UTF-8 that is not empty; garbage gives garbage, and at least one byte.
struct Character {
  char32_t value;
  std::size_t bytes;
  unsigned columns;  // of a terminal
  bool control;      // a terminal might obey it: writing direction and lines beyond ASCII too
};
Character FirstCharacter(std::string_view utf8);
// Appends the text with a space for every control character.
void AppendPrintable(std::string& out, std::string_view utf8);
// The text in one line of at most `columns` terminal columns, cut with "…"; wide characters count
// twice, control characters become spaces.
std::string FitColumns(std::string_view utf8, unsigned columns);
// Terminal columns of a text.
unsigned Columns(std::string_view utf8);

}  // namespace parvane::desk
