// The PST to write, checked before anything is done.
#pragma once

#include <string>
#include <string_view>

#include "desk/options.h"
#include "platform/status.h"

namespace parvane::desk {

struct Destination {
  std::u16string path;    // as it is asked for
  std::u16string file;    // the same, links followed
  bool existed = false;   // a PST is there
  bool replaced = false;  // ... and is to be replaced
};

// Ok when the file begins as a PST of any kind does, else kUnsupported and what it is.
platform::Status CheckIsPst(std::u16string_view path);
// Ok when it is a PST that this MAPI reads: Outlook's also reads kinds that the built-in one does
// not.
platform::Status CheckIsHandled(std::u16string_view path, MapiChoice mapi);

// Settles the path (in a folder the PST takes `nameInFolder`, or the next free "name (2).pst") and
// refuses, with the reason, what must not or cannot be written: a file that is no PST, a PST
// without --append or --overwrite, a folder that is missing, a name that does not end in ".pst".
// Changes nothing.
platform::Result<Destination> CheckDestination(const ConvertOptions& options,
                                               std::u16string_view nameInFolder);

}  // namespace parvane::desk
