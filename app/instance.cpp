#include "app/instance.h"

#include <charconv>
#include <span>
#include <utility>

#include "app/admission.h"
#include "app/http_server.h"
#include "platform/browser.h"
#include "platform/child_process.h"
#include "platform/path.h"

namespace parvane::app {
namespace {

using platform::FileSystem;
using platform::JoinPath;
using platform::Result;
using platform::Status;
using platform::StatusCode;

constexpr const char16_t* kLock = u"window.lock";
constexpr const char16_t* kNote = u"window";
constexpr unsigned kPatience = 10'000, kPause = 100;  // milliseconds

FileSystem& Machine() { return FileSystem::Default(); }

Result<std::unique_ptr<platform::RandomAccessFile>> TakeLock(const std::u16string& folder) {
  const std::u16string path = JoinPath(folder, kLock);
  auto file = Machine().Open(path, FileSystem::OpenMode::kReadWrite);
  if (!file.ok() && file.status().code() == StatusCode::kNotFound)
    file = Machine().Open(path, FileSystem::OpenMode::kCreateNew);
  if (!file.ok()) return file.status();
  const Status locked = (*file)->LockExclusive();
  // A file system without locks has one window a start.
  if (!locked.ok() && locked.code() != StatusCode::kUnsupported) return locked;
  return file;
}

// "PORT SECRET"; empty unless the server there answers.
std::string AddressNoted(const std::u16string& folder) {
  constexpr std::uint64_t kLongest = 100;
  const auto note = platform::ReadWholeFile(Machine(), JoinPath(folder, kNote), kLongest);
  if (!note.ok()) return {};
  unsigned port = 0;
  const char* const end = note->data() + note->size();
  const auto read = std::from_chars(note->data(), end, port);
  if (read.ec != std::errc() || read.ptr == end || *read.ptr != ' ') return {};
  const std::string secret(read.ptr + 1, end);
  return Knock(port, secret) ? Admission(secret, port).Address() : std::string();
}

}  // namespace

Result<std::u16string> OwnFolder() {
  const auto session = platform::SessionFolder();
  if (!session) return Status(StatusCode::kNotFound, "there is no home folder");
  std::u16string folder = JoinPath(*session, u"parvane");
  if (Status made = Machine().CreateFolder(*session, true); !made.ok()) return made;
  if (Status made = Machine().CreateFolder(folder, true); !made.ok()) return made;
  return folder;
}

Result<Instance::Found> Instance::Look() {
  auto folder = OwnFolder();
  if (!folder.ok()) return folder.status();
  for (unsigned waited = 0;; waited += kPause) {
    auto lock = TakeLock(*folder);
    Found found;
    if (lock.ok()) {
      found.own.emplace(Instance(std::move(folder).value(), std::move(lock).value()));
      return found;
    }
    if (lock.status().code() != StatusCode::kLocked) return lock.status();
    found.address = AddressNoted(*folder);
    if (!found.address.empty()) return found;
    if (waited >= kPatience) {
      return Status(StatusCode::kLocked,
                    "another window of this program is there, and does not answer");
    }
    platform::Sleep(kPause);
  }
}

Instance::~Instance() {
  if (_lock) (void)Machine().Remove(JoinPath(_folder, kNote));
}

Status Instance::Announce(unsigned port, const std::string& secret) {
  const std::u16string path = JoinPath(_folder, kNote);
  (void)Machine().Remove(path);  // of one that was cut off
  const std::string note = std::to_string(port) + " " + secret;
  const auto bytes = std::as_bytes(std::span(note));
  return Machine().AppendPrivate(path, std::span(&bytes, 1));
}

}  // namespace parvane::app
