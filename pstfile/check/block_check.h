// Every block by itself: place, trailer, check sum, and the structure of internal blocks
// ([MS-PST] 2.2.2.8). Also walks and judges the pages of the block B-tree.
#pragma once

#include <cstdint>

#include "pstfile/check/image.h"
#include "pstfile/check/reporter.h"
#include "pstfile/check/survey.h"

namespace parvane::pstfile::check {

struct BlockTotals {
  std::uint64_t blocks = 0;
  // References that the stored counts promise: a measure of how much work honest sharing can make.
  std::uint64_t references = 0;
};

BlockTotals CheckBlocks(Image& image, Reporter& reporter, Survey& survey);

}  // namespace parvane::pstfile::check
