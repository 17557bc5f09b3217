// A file system in memory that records what is done to it, can fail at any step, and can say what a
// disk would hold after a crash at any step.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/file.h"

namespace parvane::pstfile {

using Bytes = std::vector<std::byte>;

class MemoryFiles : public platform::FileSystem {
 public:
  enum class Act { kWrite, kResize, kFlush, kRename, kRemove };
  struct Step {
    Act act;
    std::u16string path;
    std::uint64_t offset = 0;  // kResize: the size
    Bytes bytes;
    std::u16string to;
  };

  std::map<std::u16string, std::shared_ptr<Bytes>> contents;
  std::vector<Step> steps;  // while `recording`
  bool recording = false;
  std::size_t writes = 0, flushes = 0;
  std::size_t failRead = 0, failWrite = 0, failFlush = 0;  // the nth from now fails; 0: none
  std::uint64_t bytesRead = 0;
  std::uint64_t diskSize = UINT64_MAX;  // Allocate beyond it fails with kDiskFull
  std::uint64_t readable = UINT64_MAX;  // what lies behind cannot be read
  std::map<std::u16string, int> locks;

  Bytes& operator[](const std::u16string& path) {
    auto& content = contents[path];
    if (content == nullptr) content = std::make_shared<Bytes>();
    return *content;
  }

  platform::Result<std::unique_ptr<platform::RandomAccessFile>> Open(std::u16string_view path,
                                                                     OpenMode mode) override;
  platform::FileInformation Inspect(std::u16string_view path) override {
    platform::FileInformation info;
    const auto found = contents.find(std::u16string(path));
    if (found == contents.end()) return info;
    info.kind = platform::FileKind::kFile;
    info.size = found->second->size();
    return info;
  }
  platform::Result<std::vector<platform::DirectoryEntry>> List(std::u16string_view) override {
    return platform::Status(platform::StatusCode::kUnsupported, "");
  }
  platform::Status CreateFolder(std::u16string_view, bool) override { return {}; }
  platform::Status Rename(std::u16string_view from, std::u16string_view to, bool replace) override {
    const std::u16string source(from), target(to);
    if (!replace && contents.contains(target)) return {platform::StatusCode::kExists, "exists"};
    contents[target] = contents[source];
    contents.erase(source);
    Record({Act::kRename, source, 0, {}, target});
    return {};
  }
  platform::Status Remove(std::u16string_view path) override {
    if (contents.erase(std::u16string(path)) == 0) return {platform::StatusCode::kNotFound, ""};
    Record({Act::kRemove, std::u16string(path), 0, {}, {}});
    return {};
  }
  platform::Status FlushFolder(std::u16string_view) override { return {}; }
  platform::Status AppendPrivate(std::u16string_view,
                                 std::span<const std::span<const std::byte>>) override {
    return {platform::StatusCode::kUnsupported, ""};
  }

  void Record(Step step) {
    if (recording) steps.push_back(std::move(step));
  }
  // Whether this operation is the one that shall fail.
  static bool Due(std::size_t& countdown) { return countdown != 0 && --countdown == 0; }

  static void Apply(const Step& step, Bytes& file) {
    if (step.act == Act::kResize) file.resize(step.offset);
    if (step.act != Act::kWrite) return;
    if (file.size() < step.offset + step.bytes.size()) file.resize(step.offset + step.bytes.size());
    std::ranges::copy(step.bytes, file.begin() + static_cast<std::ptrdiff_t>(step.offset));
  }
};

class MemoryFile : public platform::RandomAccessFile {
 public:
  MemoryFile(MemoryFiles& files, std::u16string path, bool writable)
      : _files(files), _path(std::move(path)), _writable(writable), _bytes(files.contents[_path]) {}
  ~MemoryFile() override {
    if (_locked) --_files.locks[_path];
  }

  platform::Result<std::size_t> ReadAt(std::uint64_t offset, std::span<std::byte> buffer) override {
    if (offset + buffer.size() > _files.readable || MemoryFiles::Due(_files.failRead)) {
      return platform::Status(platform::StatusCode::kIoError, "bad sector");
    }
    if (offset >= _bytes->size()) return std::size_t{0};
    const std::size_t count = std::min<std::size_t>(buffer.size(), _bytes->size() - offset);
    _files.bytesRead += count;
    std::copy_n(_bytes->begin() + static_cast<std::ptrdiff_t>(offset), count, buffer.begin());
    return count;
  }
  platform::Status WriteAt(std::uint64_t offset, std::span<const std::byte> bytes) override {
    ++_files.writes;
    if (!_writable) return {platform::StatusCode::kAccessDenied, "read only"};
    if (MemoryFiles::Due(_files.failWrite)) return {platform::StatusCode::kIoError, "write failed"};
    return Do({MemoryFiles::Act::kWrite, _path, offset, Bytes(bytes.begin(), bytes.end()), {}});
  }
  platform::Status Flush() override {
    ++_files.flushes;
    if (MemoryFiles::Due(_files.failFlush)) return {platform::StatusCode::kIoError, "flush failed"};
    _files.Record({MemoryFiles::Act::kFlush, _path, 0, {}, {}});
    return {};
  }
  platform::Result<std::uint64_t> Size() override { return std::uint64_t{_bytes->size()}; }
  platform::Status Resize(std::uint64_t size) override {
    if (!_writable) return {platform::StatusCode::kAccessDenied, "read only"};
    return Do({MemoryFiles::Act::kResize, _path, size, {}, {}});
  }
  platform::Status Allocate(std::uint64_t size) override {
    if (size > _files.diskSize) return {platform::StatusCode::kDiskFull, "disk full"};
    return size > _bytes->size() ? Resize(size) : platform::Status();
  }
  platform::Status LockExclusive() override {
    if (_files.locks[_path] > 0 && !_locked) return {platform::StatusCode::kLocked, "locked"};
    if (!_locked) ++_files.locks[_path];
    _locked = true;
    return {};
  }
  platform::Result<platform::FileInformation> Inspect() override { return _files.Inspect(_path); }

 private:
  platform::Status Do(MemoryFiles::Step step) {
    MemoryFiles::Apply(step, *_bytes);
    _files.Record(std::move(step));
    return {};
  }
  MemoryFiles& _files;
  std::u16string _path;
  bool _writable;
  bool _locked = false;
  std::shared_ptr<Bytes> _bytes;
};

inline platform::Result<std::unique_ptr<platform::RandomAccessFile>> MemoryFiles::Open(
    std::u16string_view path, OpenMode mode) {
  const std::u16string name(path);
  const bool exists = contents.contains(name);
  if (mode == OpenMode::kCreateNew) {
    if (exists) return platform::Status(platform::StatusCode::kExists, "exists");
    contents[name] = std::make_shared<Bytes>();
  } else if (!exists) {
    return platform::Status(platform::StatusCode::kNotFound, "not found");
  }
  return std::unique_ptr<platform::RandomAccessFile>(
      std::make_unique<MemoryFile>(*this, name, mode != OpenMode::kRead));
}

}  // namespace parvane::pstfile
