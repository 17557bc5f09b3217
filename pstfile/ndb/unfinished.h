// The mark of a file that is still being made: words of its maker in the last field of the header
// (rgbReserved3), which its maker takes off when everything is in the file and it has its name. A
// marked file that nobody holds is what a maker left that did not get that far.
//
// No check sum covers the field, readers ignore it, and who writes a header keeps it ([MS-PST]
// 2.2.2.6). So the mark is on the file from the moment it is a PST, and goes with one write of 32
// bytes that lie in one sector: whatever is cut off, the file is whole, with its mark or without.
#pragma once

#include <span>

#include "platform/file.h"
#include "platform/status.h"
#include "pstfile/ndb/layout.h"

namespace parvane::pstfile {

void MarkUnfinished(std::span<std::byte, kHeaderSize> header);
// Whether it is a PST with the mark. Fails only when the file cannot be read.
platform::Result<bool> IsUnfinished(platform::RandomAccessFile& file);
// Takes the mark off; changes nothing where there is none. Nobody may have the file open as a PST.
platform::Status MarkFinished(platform::RandomAccessFile& file);

}  // namespace parvane::pstfile
