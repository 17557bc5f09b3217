// What a command shows of its progress.
#include "cli/progress_line.h"

#include <gtest/gtest.h>

namespace parvane::cli {
namespace {

TEST(Progress, KeepsItsFiguresInNarrowTerminals) {
  struct Case {
    unsigned columns;
    desk::RunFigures figures;
    const char* text;
  };
  const desk::RunFigures whole{"Local Folders / Letters from home", 100'000'000, 400'000'000,
                               9'999};
  for (const Case& c : std::initializer_list<Case>{
           {120, whole,
            "Local Folders / Letters from home  100.0 MB of 400.0 MB  25%  9,999 messages  10.0 "
            "MB/s"
            "  0:30 left"},
           {80, whole,
            "Local Folders / Letters from home  25%  9,999 messages  10.0 MB/s  0:30 left"},
           {60, whole, "Local Folders / …  25%  9,999 messages  10.0 MB/s  0:30 left"},
           {40, whole, "Local Folder…  25%  10.0 MB/s  0:30 left"},
           {20, whole, "25%  10.0 MB/s  0:3…"},
           {40,
            {"Looking at /home/somebody/and/further/down", 0, 0, 0},
            "Looking at /home/somebody/and/further/d…"},
           {40, {"mail.pst", 0, 0, 70'000}, "mail.pst  70,000 messages"}})
    EXPECT_EQ(ProgressText(c.figures, 10'000, c.columns), c.text) << c.columns;
}

}  // namespace
}  // namespace parvane::cli
