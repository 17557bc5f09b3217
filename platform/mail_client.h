// What the operating system knows of the mail program that serves others. Windows only: elsewhere
// no mail program lends its mail store to others this way.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/status.h"

namespace parvane::platform {

// A library of the operating system's, found at run time. It stays loaded until the process ends.
class SystemLibrary {
 public:
  using Function = void (*)();

  // Looks in the system's own folder only, never beside the program or in the current folder.
  static Result<SystemLibrary> Load(std::u16string_view name);
  // Null when the library has no such function; to be cast to its published type.
  Function Find(const char* name) const;

 private:
  explicit SystemLibrary(void* module) : _module(module) {}
  [[maybe_unused]] void* _module;  // off Windows there is none
};

// The default mail program, as registered (Clients\Mail).
struct MailClient {
  enum class Library {
    kNone,       // no library for Extended MAPI is registered
    kFits,       // there, and for programs like this one
    kMissing,    // registered, but no such file
    kOtherBits,  // made for 32-bit programs and this is a 64-bit one, or the other way round
    kUnusable,   // a file, but no library for this machine
  };
  std::u16string name;  // empty: no program is the default
  std::u16string path;  // of its library
  Library library = Library::kNone;
  unsigned outlookBits = 0;  // of the Outlook that is installed: 32 or 64; 0: none found
};

MailClient DefaultMailClient();

// A name that one process of a user holds at a time, whichever of the user's sessions it runs in.
// Let go when destroyed, or when the process ends, however it ends.
class UserLock {
 public:
  // kLocked when another holds it.
  static Result<UserLock> Take(std::u16string_view name);
  UserLock(UserLock&& other) noexcept : _handle(std::exchange(other._handle, nullptr)) {}
  UserLock& operator=(UserLock&&) = delete;
  ~UserLock();

 private:
  explicit UserLock(void* handle) : _handle(handle) {}
  void* _handle;
};

}  // namespace parvane::platform
