// What a command-line program asks of its process: a clean way to be stopped, its arguments, and
// whether anybody watches.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace parvane::platform {

// While it lives, the first Ctrl-C (or request to terminate, or closing of the terminal) only sets
// a flag for the work to look at between items, and the second ends the process at once with exit
// code kInterruptedExitCode. Signals that were ignored when it was made stay ignored (nohup, a
// shell's background job). Off Windows, writing to a closed pipe or beyond a file size limit
// becomes an error of the call instead of the end of the process.
//
// One at a time.
class InterruptWatch {
 public:
  InterruptWatch();
  ~InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;

  bool Requested() const;
};

inline constexpr int kInterruptedExitCode = 130;

// First thing in a program: a standard stream that was closed when it started leads to the null
// device from here on. Otherwise the next file to be opened would take its place, and get whatever
// is said to that stream.
void OpenMissingStandardStreams();

// The program's arguments without its name, each as PathFromNative takes it. On Windows, where no
// shell does it, an argument whose last component holds "*" or "?" becomes the files and folders
// that it matches, sorted; it stays as it is when there are none.
std::vector<std::string> ProgramArguments(int argc, const char* const* argv);

// The path from the root, without ".", ".." and symbolic links; the path as it is when nothing is
// there.
std::u16string CanonicalPath(std::u16string_view path);

enum class StandardStream { kOutput, kError };

// Writes to the stream; false once it takes no more (a closed pipe). Bytes go out as they are,
// without line ends being changed; a console of Windows gets the text whatever its code page.
bool WriteStandardStream(StandardStream stream, std::string_view utf8);
bool FlushStandardStream(StandardStream stream);

// True when a person reads the stream on a terminal that can redraw a line.
bool IsInteractive(StandardStream stream);

// True when another program reads the stream.
bool IsPipe(StandardStream stream);

// Columns of the terminal behind standard error; 80 when it does not tell.
unsigned TerminalColumns();

}  // namespace parvane::platform
