// The reference counts of blocks, recomputed ([MS-PST] 2.2.2.7.7.3: cRef is one more than the
// references from nodes, subnodes and trees).
#pragma once

#include "pstfile/check/image.h"
#include "pstfile/check/reporter.h"
#include "pstfile/check/survey.h"

namespace parvane::pstfile::check {

// Where the survey's sums say that all are right, there is nothing to do. Else works through the
// blocks a million at a time, each time walking all that can refer to them: 14 bytes a block of the
// current million, whatever the file holds.
void CheckReferences(Image& image, Reporter& reporter, const Survey& survey);

}  // namespace parvane::pstfile::check
