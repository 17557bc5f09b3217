// What only the POSIX half of the room promises.
#include <cstdlib>
#include <cstring>
#include <optional>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/background_task.h"
#include "platform/code_pages/code_page.h"
#include "platform/path.h"
#include "platform/system.h"
#include "platform/time.h"
#include "tests/support/temporary_folder.h"

namespace parvane::platform {
namespace {

using Mode = FileSystem::OpenMode;

FileSystem& Files() { return FileSystem::Default(); }

mode_t ModeOf(const std::u16string& path) {
  struct stat info {};
  EXPECT_EQ(::stat(PathToNative(path).c_str(), &info), 0);
  return info.st_mode & 07777;
}

#if defined(__linux__)
TEST(PosixProcessors, AreThoseThatTheProcessMayUse) {
  cpu_set_t before;
  ASSERT_EQ(sched_getaffinity(0, sizeof before, &before), 0);
  EXPECT_EQ(BackgroundTask::IsWorthwhile(), CPU_COUNT(&before) > 1);
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(sched_getcpu(), &one);
  ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
  EXPECT_FALSE(BackgroundTask::IsWorthwhile());
  ASSERT_EQ(sched_setaffinity(0, sizeof before, &before), 0);
}
#endif

TEST(PosixFiles, NeverOpenFifosAndDevices) {
  const ::TemporaryFolder folder;
  const std::u16string fifo = folder / u"fifo";
  ASSERT_EQ(::mkfifo(PathToNative(fifo).c_str(), 0600), 0);
  // Opening one of these for good would block for ever.
  for (const Mode mode : {Mode::kRead, Mode::kReadWrite}) {
    EXPECT_EQ(Files().Open(fifo, mode).status().code(), StatusCode::kUnsupported);
    EXPECT_EQ(Files().Open(u"/dev/zero", mode).status().code(), StatusCode::kUnsupported);
  }
  EXPECT_FALSE(Files().AppendPrivate(fifo, {}).ok());
  EXPECT_EQ(Files().Inspect(fifo).kind, FileKind::kOther);
}

TEST(PosixFiles, ResolveSymbolicLinks) {
  const ::TemporaryFolder folder;
  folder.Write(u"file", "12345");
  ASSERT_TRUE(Files().CreateFolder(folder / u"sub", false).ok());
  const auto link = [&folder](const char* target, std::u16string_view name) {
    ASSERT_EQ(::symlink(target, PathToNative(folder / name).c_str()), 0);
  };
  link("file", u"to file");
  link("sub", u"to folder");
  link("nowhere", u"to nothing");
  link("to itself", u"to itself");
  link("/dev/null", u"to device");
  const auto entries = Files().List(folder.Path());
  ASSERT_TRUE(entries.ok());
  std::string kinds;
  for (const DirectoryEntry& entry : *entries) kinds += "NFDO"[static_cast<int>(entry.kind)];
  // file, sub, to device, to file, to folder, to itself, to nothing
  EXPECT_EQ(kinds, "FDOFDNN");
  EXPECT_EQ((*entries)[3].size, 5U);
  const FileInformation direct = Files().Inspect(folder / u"sub");
  const FileInformation linked = Files().Inspect(folder / u"to folder");
  EXPECT_EQ(direct.identity, linked.identity);
  EXPECT_EQ(direct.device, linked.device);
  EXPECT_NE(direct.identity, Files().Inspect(folder.Path()).identity);
}

TEST(PosixFiles, KeepNamesThatAreNoText) {
  const ::TemporaryFolder folder;
  const std::u16string name = PathFromNative("l\xF8s\xFF");
  folder.Write(name, "x");
  const auto entries = Files().List(folder.Path());
  ASSERT_TRUE(entries.ok());
  ASSERT_EQ(entries->size(), 1U);
  EXPECT_EQ((*entries)[0].name, name);
  EXPECT_TRUE(Files().FileExists(folder / (*entries)[0].name));
}

TEST(PosixFiles, PrivateMeansTheOwnerAlone) {
  const ::TemporaryFolder folder;
  ASSERT_TRUE(Files().CreateFolder(folder / u"private", true).ok());
  EXPECT_EQ(ModeOf(folder / u"private"), 0700U);
  ASSERT_TRUE(Files().AppendPrivate(folder / u"new", {}).ok());
  EXPECT_EQ(ModeOf(folder / u"new"), 0600U);
  const std::u16string open = folder.Write(u"open", "x");
  ASSERT_EQ(::chmod(PathToNative(open).c_str(), 0644), 0);
  ASSERT_TRUE(Files().AppendPrivate(open, {}).ok());
  EXPECT_EQ(ModeOf(open), 0600U);
}

TEST(PosixFiles, AFullDiskIsAnErrorThatLeavesTheFileWhole) {
  const ::TemporaryFolder folder;
  auto file = Files().Open(folder / u"f", Mode::kCreateNew);
  ASSERT_TRUE(file.ok());
  // The file size limit stands in for the disk; its signal would end the process.
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  rlimit small = before;
  small.rlim_cur = 10'000;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const std::string data(20'000, 'x');
  const Status written = (*file)->WriteAt(0, std::as_bytes(std::span(data)));
  const Status extended = (*file)->Resize(20'000);
  ASSERT_TRUE((*file)->Resize(100).ok());
  const Status allocated = (*file)->Allocate(20'000);
  const auto size = (*file)->Size();
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  // More than any file system has left.
  const Status beyond = (*file)->Allocate(std::uint64_t{1} << 60);
  EXPECT_EQ(beyond.code(), StatusCode::kDiskFull) << beyond.message();
  EXPECT_EQ(*(*file)->Size(), 100U);
  EXPECT_EQ(written.code(), StatusCode::kDiskFull) << written.message();
  EXPECT_NE(written.message().find("/f: "), std::string::npos) << written.message();
  EXPECT_EQ(extended.code(), StatusCode::kDiskFull);
  EXPECT_EQ(allocated.code(), StatusCode::kDiskFull);
  EXPECT_EQ(*size, 100U);
}

TEST(PosixFiles, DeniedIsToldFromMissing) {
  const ::TemporaryFolder folder;
  const std::u16string path = folder.Write(u"f", "x");
  ASSERT_EQ(::chmod(PathToNative(path).c_str(), 0), 0);
  ASSERT_EQ(::chmod(PathToNative(ParentOfPath(path)).c_str(), 0755), 0);
  // Root may do everything, so the test is nobody meanwhile.
  const ::uid_t user = ::geteuid();
  ASSERT_EQ(::seteuid(user == 0 ? 65534 : user), 0);
  const Status denied = Files().Open(path, Mode::kRead).status();
  const Status missing = Files().Open(path + u"x", Mode::kRead).status();
  ASSERT_EQ(::seteuid(user), 0);
  EXPECT_EQ(denied.code(), StatusCode::kAccessDenied) << denied.message();
  EXPECT_EQ(missing.code(), StatusCode::kNotFound) << missing.message();
}

class Variable {
 public:
  Variable(const char* name, const char* value) : _name(name) {
    if (const char* old = std::getenv(name)) _old = old;
    if (value == nullptr) {
      ::unsetenv(name);
    } else {
      ::setenv(name, value, 1);
    }
  }
  ~Variable() {
    if (_old) {
      ::setenv(_name, _old->c_str(), 1);
    } else {
      ::unsetenv(_name);
    }
  }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const char* _name;
  std::optional<std::string> _old;
};

TEST(PosixSystem, FindsTheDataFolder) {
  const Variable home("HOME", "/home/me");
  {
    const Variable data("XDG_DATA_HOME", "/data");
    EXPECT_EQ(LocalApplicationDataFolder(), u"/data");
  }
  for (const char* value : {static_cast<const char*>(nullptr), "", "relative"}) {
    const Variable data("XDG_DATA_HOME", value);
    EXPECT_EQ(LocalApplicationDataFolder(), u"/home/me/.local/share");
    const Variable none("HOME", nullptr);
    EXPECT_FALSE(LocalApplicationDataFolder());
  }
  EXPECT_GT(PeakResidentBytes(), std::uint64_t{1} << 20);
}

TEST(PosixSystem, FindsTheUsersFolders) {
  const ::TemporaryFolder scratch;
  const std::string home = PathToNative(scratch / u"home");
  const Variable homeNow("HOME", home.c_str());
  const Variable configuration("XDG_CONFIG_HOME", nullptr);
  EXPECT_EQ(FolderOfUser(UserFolder::kSettings), scratch / u"home/.config");
  EXPECT_EQ(FolderOfUser(UserFolder::kDownloads), scratch / u"home/Downloads");
  constexpr std::string_view kNotes =
      "# made by the desktop\nXDG_DOWNLOAD_DIR=\"$HOME/T\xC3\xA9l\xC3\xA9\"\n"
      "XDG_DOCUMENTS_DIR=\"/elsewhere\"\nXDG_DESKTOP_DIR=\"$HOME/\"\n";
  scratch.Write(u"home/.config/user-dirs.dirs", kNotes);
  EXPECT_EQ(FolderOfUser(UserFolder::kDownloads), scratch / u"home/Télé");
  EXPECT_EQ(FolderOfUser(UserFolder::kDocuments), u"/elsewhere");
  EXPECT_EQ(FolderOfUser(UserFolder::kDesktop), scratch / u"home/Desktop");
  const Variable none("HOME", nullptr);
  EXPECT_FALSE(FolderOfUser(UserFolder::kHome));
}

TEST(PosixSystem, RandomBytesDiffer) {
  std::byte first[600] = {};
  std::byte second[600] = {};
  FillRandom(first);
  FillRandom(second);
  EXPECT_NE(std::memcmp(first, second, 300), 0);
  EXPECT_NE(std::memcmp(first + 300, second + 300, 300), 0);
}

TEST(PosixLocale, FillsPictures) {
  const SystemTime time{2013, 3, 2, 5, 14, 7, 9, 0};
  const struct {
    const char* locale;
    const char16_t* date;
    const char16_t* text;
  } kCases[] = {
      {"C", u"ddd',' d MMM yyyy", u"Tue, 5 Mar 2013"},
      {"en_US.UTF-8", u"dddd d dd M MM MMMM y yy yyyy", u"Tuesday 5 05 3 03 March 13 13 2013"},
      {"de_DE.UTF-8", u"dddd, d. MMMM yyyy", u"Dienstag, 5. M\u00E4rz 2013"},
      {"da_DK@euro", u"d/M-'d''MMM' gg", u"5/3-d'MMM "},
      {"fa_IR.UTF-8", u"d yyyy", u"5 2013"},
      {"C", u"'open d", u"open d"},
  };
  for (const auto& c : kCases) {
    const Variable all("LC_ALL", c.locale);
    EXPECT_EQ(FormatLocaleDate(time, c.date), c.text) << c.locale;
  }
  const Variable all("LC_ALL", "en_US.UTF-8");
  EXPECT_EQ(FormatLocaleTime(time, u"HH':'mm':'ss"), u"14:07:09");
  EXPECT_EQ(FormatLocaleTime(time, u"H h hh m s t tt"), u"14 2 02 7 9 P PM");
  EXPECT_EQ(FormatLocaleTime({2013, 3, 2, 5, 0, 0, 0, 0}, u"h tt"), u"12 AM");
  EXPECT_EQ(FormatLocaleDate({2013, 2, 0, 30, 0, 0, 0, 0}, u"d"), u"");
}

TEST(CodePage, ReadsBig5BeyondWindowsTable) {
  std::u16string text;
  EXPECT_EQ(DecodeCodePage(950, "\xC6\xE8\xC6\xA1\xA4\x40", text), 0U);
  EXPECT_EQ(text, u"\u3042\u2460\u4E00");
}

TEST(TimeZone, MaySkipADay) {
  ASSERT_TRUE(SetLocalTimeZone("Pacific/Apia"));
  // Noon of 29 and of 31 December 2011; there was no 30th.
  EXPECT_EQ(LocalUtcOffsetAtLocal(1'325'160'000), -36000);
  EXPECT_EQ(LocalUtcOffsetAtLocal(1'325'332'800), 50400);
  SetLocalTimeZone({});
}

}  // namespace
}  // namespace parvane::platform
