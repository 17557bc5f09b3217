// The allocation maps against what the file really uses ([MS-PST] 2.2.2.7.2 to 2.2.2.7.4).
#pragma once

#include "pstfile/check/image.h"
#include "pstfile/check/reporter.h"
#include "pstfile/check/survey.h"

namespace parvane::pstfile::check {

// Map pages and the density list at their places, overlaps, leaks, unmarked space, free counts.
// Walks both trees once for each 16 GiB of file, the first of them only where `survey`, which may
// be null, has no map of them; its bitmap, and the survey's, which it drops, never exceed 32 MiB.
void CheckSpace(Image& image, Reporter& reporter, Survey* survey);

}  // namespace parvane::pstfile::check
