// A folder of a test's own, gone with its content when the test is done.
#pragma once

#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/system.h"

class TemporaryFolder {
 public:
  TemporaryFolder() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    _path =
        std::filesystem::temp_directory_path() /
        ("parvane-" + std::to_string(parvane::platform::ProcessIdentifier()) + "-" + test->name());
    std::filesystem::remove_all(_path);
    std::filesystem::create_directories(_path);
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::u16string Path(std::string_view name = {}) const {
    return parvane::platform::PathFromNative(name.empty() ? _path.string()
                                                          : (_path / name).string());
  }
  std::u16string operator/(std::u16string_view name) const {
    return parvane::platform::JoinPath(Path(), name);
  }
  // Creates folders on the way.
  std::u16string Write(std::u16string_view name, std::string_view bytes) const {
    auto& files = parvane::platform::FileSystem::Default();
    const std::u16string path = *this / name;
    MakeFolders(files, parvane::platform::ParentOfPath(path));
    using Mode = parvane::platform::FileSystem::OpenMode;
    auto file = files.Open(path, files.FileExists(path) ? Mode::kReadWrite : Mode::kCreateNew);
    EXPECT_TRUE(file.ok() && (*file)->Resize(0).ok() &&
                (*file)->WriteAt(0, std::as_bytes(std::span(bytes))).ok())
        << file.status().message();
    return path;
  }
  std::u16string Write(std::string_view name, std::string_view bytes) const {
    return Write(parvane::platform::PathFromNative(name), bytes);
  }
  void MakeFolder(std::string_view name) const {
    std::filesystem::create_directories(_path / name);
  }
  // False where links cannot be made (Windows, for most users).
  bool Link(std::string_view target, std::string_view name) const {
    std::error_code refused;
    std::filesystem::create_directory_symlink(_path / target, _path / name, refused);
    return !refused;
  }
  std::string Read(std::string_view name) const {
    std::ifstream file(_path / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  static void MakeFolders(parvane::platform::FileSystem& files, const std::u16string& path) {
    if (files.FolderExists(path)) return;
    MakeFolders(files, parvane::platform::ParentOfPath(path));
    EXPECT_TRUE(files.CreateFolder(path, true).ok());
  }

  std::filesystem::path _path;
};
