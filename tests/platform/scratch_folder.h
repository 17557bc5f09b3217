// A folder of its own for one test, removed with what is in it.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "platform/file.h"
#include "platform/system.h"

namespace parvane::platform {

class ScratchFolder {
 public:
  ScratchFolder() {
    std::byte random[8];
    FillRandom(random);
    std::u16string name = u"parvane-test-";
    for (const std::byte b : random) {
      name += static_cast<char16_t>(u'a' + (static_cast<unsigned>(b) >> 4));
      name += static_cast<char16_t>(u'a' + (static_cast<unsigned>(b) & 15));
    }
    _path = JoinPath(TemporaryFolder(), name);
    EXPECT_TRUE(FileSystem::Default().CreateFolder(_path, true).ok());
  }
  ~ScratchFolder() { Clear(_path); }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::u16string operator/(std::u16string_view name) const { return JoinPath(_path, name); }
  const std::u16string& path() const { return _path; }

  // Makes a file with this content.
  std::u16string Write(std::u16string_view name, std::string_view content) const {
    auto& files = FileSystem::Default();
    const std::u16string path = *this / name;
    (void)files.Remove(path);
    auto file = files.Open(path, FileSystem::OpenMode::kCreateNew);
    EXPECT_TRUE(file.ok()) << file.status().message();
    EXPECT_TRUE((*file)->WriteAt(0, std::as_bytes(std::span(content))).ok());
    return path;
  }

 private:
  static void Clear(const std::u16string& folder) {
    auto& files = FileSystem::Default();
    const auto entries = files.List(folder);
    if (entries.ok()) {
      for (const DirectoryEntry& entry : *entries) {
        const std::u16string path = JoinPath(folder, entry.name);
        // Removing first takes symbolic links for themselves.
        if (!files.Remove(path).ok()) Clear(path);
      }
    }
    (void)files.Remove(folder);
  }

  std::u16string _path;
};

}  // namespace parvane::platform
