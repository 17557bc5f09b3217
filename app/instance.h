// The one window of a user: a second start finds the first and shows it.
//
// The first holds a lock and has a note beside it that says where it listens, both in a folder that
// nobody but the user can look into.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/file.h"
#include "platform/status.h"

namespace parvane::app {

// For the notes of a window that runs. Made, where it is not there.
platform::Result<std::u16string> OwnFolder();

class Instance {
 public:
  // Becomes the first, or tells where the first listens. Waits for one that is just beginning or
  // ending.
  struct Found;
  static platform::Result<Found> Look();

  Instance(Instance&&) = default;
  Instance& operator=(Instance&&) = delete;
  ~Instance();

  // Second starts come here from now on.
  platform::Status Announce(unsigned port, const std::string& secret);

 private:
  Instance(std::u16string folder, std::unique_ptr<platform::RandomAccessFile> lock)
      : _folder(std::move(folder)), _lock(std::move(lock)) {}

  std::u16string _folder;
  std::unique_ptr<platform::RandomAccessFile> _lock;
};

struct Instance::Found {
  std::optional<Instance> own;
  std::string address;  // of the page of the other, if it is not
};

}  // namespace parvane::app
