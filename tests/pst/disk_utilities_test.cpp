#include "pst/disk_utilities.h"

#include <gtest/gtest.h>

#include "platform/path.h"
#include "tests/support/temporary_folder.h"

namespace QuelmarDiskUtilities {
namespace {

TEST(FreeFileNames, CountUpUntilNoFileHasThem) {
  struct Case {
    std::vector<const char*> files;
    std::vector<const char*> folders;
    const char16_t* extension;
    const char* expected;
  };
  const Case cases[] = {
      {{}, {}, u"pst", "Mail.pst"},
      {{"Mail.pst"}, {}, u"pst", "Mail(1).pst"},
      {{"Mail.pst", "Mail(1).pst"}, {}, u"pst", "Mail(2).pst"},
      {{"Mail(1).pst"}, {}, u"pst", "Mail.pst"},
      {{}, {"Mail.pst"}, u"pst", "Mail.pst"},
      {{}, {}, u"", "Mail."},
      {{"Mail."}, {}, u"", "Mail(1)."},
  };
  for (const Case& test : cases) {
    const TemporaryFolder disk;
    for (const char* file : test.files) disk.Write(file, "x");
    for (const char* folder : test.folders) disk.MakeFolder(folder);
    EXPECT_EQ(
        DiskUtilities().DetermineNewFileName(disk.Path(), u"Mail", test.extension),
        parvane::platform::JoinPath(disk.Path(), parvane::platform::PathFromNative(test.expected)))
        << test.expected;
  }
}

}  // namespace
}  // namespace QuelmarDiskUtilities
