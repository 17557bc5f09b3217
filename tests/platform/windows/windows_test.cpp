// What only the Windows half of the room promises.
#include <gtest/gtest.h>
#include <windows.h>

#include "platform/path.h"
#include "platform/process.h"
#include "platform/system.h"
#include "platform/text.h"
#include "platform/time.h"
#include "platform/windows/system_paths.h"
#include "tests/support/temporary_folder.h"

namespace parvane::platform {
namespace {

using Mode = FileSystem::OpenMode;

FileSystem& Files() { return FileSystem::Default(); }

TEST(Path, KnowsDrivesSharesAndBothSeparators) {
  const struct {
    const char16_t* path;
    const char16_t* name;
    const char16_t* parent;
  } kCases[] = {
      {u"C:\\Mail\\In.mbox", u"In.mbox", u"C:\\Mail"},
      {u"C:/Mail\\In.mbox", u"In.mbox", u"C:/Mail"},
      {u"C:\\Mail\\", u"Mail", u"C:\\"},
      {u"C:\\", u"", u"C:\\"},
      {u"c:In.mbox", u"In.mbox", u"c:"},
      {u"\\Mail", u"Mail", u"\\"},
      {u"\\\\server\\share\\Mail", u"Mail", u"\\\\server\\share\\"},
      {u"\\\\server\\share", u"", u"\\\\server\\share"},
      {u"\\\\?\\C:\\Mail", u"Mail", u"\\\\?\\C:\\"},
      {u"\\\\?\\UNC\\server\\share\\Mail", u"Mail", u"\\\\?\\UNC\\server\\share\\"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(FileNameOfPath(c.path), c.name) << Utf16ToUtf8(c.path);
    EXPECT_EQ(ParentOfPath(c.path), c.parent) << Utf16ToUtf8(c.path);
  }
  EXPECT_EQ(JoinPath(u"C:", u"In.mbox"), u"C:In.mbox");
  EXPECT_EQ(JoinPath(u"C:\\", u"In.mbox"), u"C:\\In.mbox");
  EXPECT_EQ(JoinPath(u"C:/Mail", u"In.mbox"), u"C:/Mail\\In.mbox");
}

TEST(Path, LongOnesAreTakenByTheSystem) {
  const std::u16string name(200, u'n');
  EXPECT_EQ(ToSystemPath(u"C:\\short"), L"C:\\short");
  const std::u16string longPath = u"C:\\" + name + u"/..\\" + name + u"\\" + name;
  EXPECT_EQ(FromSystemPath(ToSystemPath(longPath)), u"C:\\" + name + u"\\" + name);
  EXPECT_EQ(FromSystemPath(ToSystemPath(u"\\\\server\\share\\" + name + u"\\" + name)),
            u"\\\\server\\share\\" + name + u"\\" + name);
  EXPECT_TRUE(ToSystemPath(std::u16string(u"a\0b", 3)).empty());
}

TEST(File, WorksBeyondTheOldLimit) {
  const ::TemporaryFolder scratch;
  std::u16string folder = scratch.Path();
  for (int i = 0; i < 4; ++i) {
    folder = JoinPath(folder, std::u16string(100, u'\u00E6'));
    ASSERT_TRUE(Files().CreateFolder(folder, true).ok());
  }
  const std::u16string path = JoinPath(folder, u"\u65E5\u672C\u8A9E \U0001F600.pst");
  auto file = Files().Open(path, Mode::kCreateNew);
  ASSERT_TRUE(file.ok()) << file.status().message();
  EXPECT_TRUE((*file)->WriteAt(0, std::as_bytes(std::span("12345", 5))).ok());
  EXPECT_TRUE((*file)->Flush().ok());
  file->reset();
  EXPECT_EQ(Files().Inspect(path).size, 5U);
  EXPECT_EQ(CanonicalPath(path), path);
  const auto entries = Files().List(folder);
  ASSERT_TRUE(entries.ok());
  ASSERT_EQ(entries->size(), 1U);
  EXPECT_EQ(entries->front().name, FileNameOfPath(path));
  EXPECT_TRUE(Files().Rename(path, path + u"2", false).ok());
  EXPECT_TRUE(Files().FileExists(path + u"2"));
  // The limit holds for the removal of the test's own folder.
  EXPECT_TRUE(Files().Remove(path + u"2").ok());
  for (; folder != scratch.Path(); folder = ParentOfPath(folder)) {
    EXPECT_TRUE(Files().Remove(folder).ok());
  }
}

TEST(File, ReadersAreLetInBesideTheOneThatWrites) {
  const ::TemporaryFolder scratch;
  const std::u16string path = scratch.Write(u"f", "x");
  auto writer = Files().Open(path, Mode::kReadWrite);
  ASSERT_TRUE(writer.ok());
  EXPECT_TRUE(Files().Open(path, Mode::kRead).ok());
  const auto second = Files().Open(path, Mode::kReadWrite);
  EXPECT_EQ(second.status().code(), StatusCode::kLocked);
  EXPECT_NE(second.status().message().find("in use"), std::string::npos);
  // And the reader does not keep the file from being renamed or replaced.
  auto reader = Files().Open(path, Mode::kRead);
  EXPECT_TRUE(Files().Rename(path, scratch / u"g", false).ok());
}

TEST(File, DevicesAreNoFiles) {
  for (const char16_t* name : {u"NUL", u"CON", u"\\\\.\\NUL"}) {
    EXPECT_FALSE(Files().Open(name, Mode::kRead).ok()) << Utf16ToUtf8(name);
    EXPECT_NE(Files().Inspect(name).kind, FileKind::kFile) << Utf16ToUtf8(name);
  }
}

TEST(System, KnownFoldersAreTheUsers) {
  const auto local = LocalApplicationDataFolder();
  ASSERT_TRUE(local.has_value());
  EXPECT_TRUE(local->ends_with(u"\\AppData\\Local")) << Utf16ToUtf8(*local);
  EXPECT_TRUE(Files().FolderExists(*local));
  wchar_t profile[MAX_PATH];
  ASSERT_NE(::GetEnvironmentVariableW(L"USERPROFILE", profile, MAX_PATH), 0U);
  EXPECT_EQ(local->find(std::u16string(profile, profile + ::wcslen(profile))), 0U);
  EXPECT_TRUE(Files().FolderExists(TemporaryFolder()));
  EXPECT_NE(ProcessIdentifier(), 0U);
  EXPECT_GT(PeakResidentBytes(), 100'000U);
}

TEST(Locale, FormatsByTheUsersSettings) {
  const SystemTime time{2013, 3, 2, 5, 9, 4, 6, 0};
  EXPECT_EQ(FormatLocaleTime(time, u"HH':'mm':'ss"), u"09:04:06");
  EXPECT_EQ(FormatLocaleDate(time, u"yyyy'-'MM'-'dd"), u"2013-03-05");
  // The names are those of the user's language.
  wchar_t month[80];
  ASSERT_NE(::GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, LOCALE_SABBREVMONTHNAME3, month, 80), 0);
  const std::wstring name = month;
  EXPECT_EQ(FormatLocaleDate(time, u"d MMM yyyy"),
            u"5 " + std::u16string(name.begin(), name.end()) + u" 2013");
}

}  // namespace
}  // namespace parvane::platform
