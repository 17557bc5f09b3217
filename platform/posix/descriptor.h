// File descriptors that close themselves and keep off the standard ones.
#pragma once

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace parvane::platform {

// Repeats a call that a signal interrupted.
template <typename Call>
auto Retry(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

// The standard descriptors stay free for those who think they own them: where they were closed, the
// next file opened would get one, and whatever is printed would be written into it.
inline int AboveStandardStreams(int fd) {
  if (fd < 0 || fd > STDERR_FILENO) return fd;
  const int above = ::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int error = errno;
  ::close(fd);
  errno = error;
  return above;
}

class Descriptor {
 public:
  explicit Descriptor(int fd) : _fd(AboveStandardStreams(fd)) {}
  ~Descriptor() {
    if (_fd != -1) ::close(_fd);
  }
  Descriptor(Descriptor&& other) noexcept : _fd(std::exchange(other._fd, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  int get() const { return _fd; }
  bool valid() const { return _fd != -1; }

 private:
  int _fd;
};

}  // namespace parvane::platform
