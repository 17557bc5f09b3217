// Copying the lines of a mailbox, many bytes at a time.
#pragma once

#include <cstddef>

namespace parvane::platform::simd {

// Room that CopyMailLines needs behind what it reports as made, for every byte of its input and
// beyond.
constexpr std::size_t MailLinesRoom(std::size_t size) { return 2 * size + 32; }

struct MailLines {
  std::size_t taken = 0;      // of `in`: whole lines with their ends
  std::size_t made = 0;       // of `out`
  bool any = false;           // a line was taken
  bool lastWasEmpty = false;  // the last one held nothing; false when none was taken
};

// Copies lines that begin at `in`, each with CR LF for its end (LF, CR or CR LF). Stops in front
// of a line that must be looked at: one that begins with "From " or with ">"s and "From ", and one
// whose end, or the five bytes that tell, are not all in the input.
MailLines CopyMailLines(const char* in, std::size_t size, char* out);

}  // namespace parvane::platform::simd
