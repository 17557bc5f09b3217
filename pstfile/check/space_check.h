// The allocation maps against what the file really uses ([MS-PST] 2.2.2.7.2 to 2.2.2.7.4).
#pragma once

#include "pstfile/check/image.h"
#include "pstfile/check/reporter.h"
#include "pstfile/check/survey.h"

namespace parvane::pstfile::check {

// Map pages and the density list at their places, overlaps, leaks, unmarked space, free counts.
// Walks both trees once for each 8 GiB of file; its bitmap never exceeds 16 MiB.
// `survey` of the same file, or null.
void CheckSpace(Image& image, Reporter& reporter, const Survey* survey);

}  // namespace parvane::pstfile::check
