// The outcome of an operation that can fail, as a value.
//
// Everything below the engine's interfaces reports failure through Status and Result; exceptions
// stop at the room that raised them. A status carries a kind, which code decides by, and a text,
// which people read: it names the file or structure, the place, what was found and what was
// expected.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace parvane::platform {

enum class StatusCode {
  kOk,
  kNotFound,         // file, folder, node or property is not there
  kExists,           // something of that name is there already
  kAccessDenied,     // permissions, read-only file or file system
  kLocked,           // another process or handle holds the file
  kDiskFull,         // no space, quota or file size limit reached
  kIoError,          // the device failed; after a failed flush nothing further is trusted
  kCorrupt,          // bytes from a file break the rules of their format
  kUnsupported,      // a well-formed thing this program does not handle
  kTooBig,           // beyond a limit of the format or of the program
  kInvalidArgument,  // the caller's mistake
  kClosed,           // the object was closed, or latched after an earlier write failure
};

// Success costs nothing: it is one null pointer.
class [[nodiscard]] Status {
 public:
  Status() = default;
  // `code` is not kOk.
  Status(StatusCode code, std::string message)
      : _failure(std::make_unique<const Failure>(Failure{code, std::move(message)})) {}
  Status(const Status& other)
      : _failure(other._failure ? std::make_unique<const Failure>(*other._failure) : nullptr) {}
  // What was moved from is ok.
  Status(Status&& other) noexcept = default;
  Status& operator=(const Status& other) {
    if (this != &other) *this = Status(other);
    return *this;
  }
  Status& operator=(Status&& other) noexcept = default;

  bool ok() const { return _failure == nullptr; }
  StatusCode code() const { return ok() ? StatusCode::kOk : _failure->code; }
  // UTF-8, one line, no full stop. Empty when ok.
  const std::string& message() const {
    static const std::string kNone;
    return ok() ? kNone : _failure->message;
  }
  // The same status with "context: " put before its message.
  Status WithContext(std::string_view context) const {
    if (ok()) return {};
    return {_failure->code, std::string(context) + ": " + _failure->message};
  }

 private:
  struct Failure {
    StatusCode code;
    std::string message;
  };
  std::unique_ptr<const Failure> _failure;
};

// A value, or the status that says why there is none. value() may be called only when ok().
template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) : _value(std::move(value)) {}          // NOLINT: converts on purpose
  Result(Status status) : _status(std::move(status)) {}  // NOLINT: converts on purpose

  bool ok() const { return _value.has_value(); }
  const Status& status() const { return _status; }
  T& value() & { return *_value; }
  const T& value() const& { return *_value; }
  T&& value() && { return *std::move(_value); }
  T& operator*() & { return *_value; }
  const T& operator*() const& { return *_value; }
  T* operator->() { return &*_value; }
  const T* operator->() const { return &*_value; }

 private:
  std::optional<T> _value;
  Status _status;
};

}  // namespace parvane::platform
