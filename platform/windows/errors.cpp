#include "platform/path.h"
#include "platform/text.h"
#include "platform/windows/windows_text.h"

namespace parvane::platform {
namespace {

// ERROR_DISK_QUOTA_EXCEEDED, which older headers lack.
constexpr DWORD kDiskQuotaExceeded = 1295;

StatusCode CodeOf(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
      return StatusCode::kNotFound;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
    case ERROR_DIR_NOT_EMPTY:
      return StatusCode::kExists;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
    case ERROR_PRIVILEGE_NOT_HELD:
      return StatusCode::kAccessDenied;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
      return StatusCode::kLocked;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case kDiskQuotaExceeded:
    case ERROR_FILE_TOO_LARGE:
      return StatusCode::kDiskFull;
    case ERROR_NOT_SUPPORTED:
    case ERROR_INVALID_FUNCTION:
    case ERROR_CALL_NOT_IMPLEMENTED:
      return StatusCode::kUnsupported;
    case ERROR_INVALID_NAME:
    case ERROR_INVALID_PARAMETER:
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_BAD_PATHNAME:
      return StatusCode::kInvalidArgument;
    default:
      return StatusCode::kIoError;
  }
}

std::string SystemText(DWORD error) {
  wchar_t buffer[512];
  DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                  nullptr, error, 0, buffer, 512, nullptr);
  while (length > 0 && (buffer[length - 1] <= L' ' || buffer[length - 1] == L'.')) --length;
  if (length == 0) return "error " + std::to_string(error);
  return Utf16ToUtf8(FromWide({buffer, length}));
}

}  // namespace

Status SystemErrorStatus(DWORD error, std::string_view action, std::u16string_view path) {
  const StatusCode code = CodeOf(error);
  if (code == StatusCode::kLocked) {
    return {code, PathForDisplay(path) + " is in use by another program"};
  }
  return {code,
          "cannot " + std::string(action) + " " + PathForDisplay(path) + ": " + SystemText(error)};
}

}  // namespace parvane::platform
