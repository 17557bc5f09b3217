// The header, its copy, and the unused space up to the first map ([MS-PST] 2.2.2.6).
#pragma once

#include "pstfile/check/image.h"
#include "pstfile/check/reporter.h"

namespace parvane::pstfile::check {

// Also tells the reporter whether the file is one that Outlook had open, and makes the image go on
// with the copy at 0x2000 when only that one is whole.
void CheckHeader(Image& image, Reporter& reporter);

}  // namespace parvane::pstfile::check
