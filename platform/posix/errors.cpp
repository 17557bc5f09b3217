#include "platform/posix/errors.h"

#include <cerrno>
#include <system_error>

#include "platform/path.h"

namespace parvane::platform {
namespace {

StatusCode CodeOf(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return StatusCode::kNotFound;
    case EEXIST:
    case ENOTEMPTY:
      return StatusCode::kExists;
    case EACCES:
    case EPERM:
    case EROFS:
      return StatusCode::kAccessDenied;
    case ETXTBSY:
    case EBUSY:
      return StatusCode::kLocked;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return StatusCode::kDiskFull;
    case EISDIR:
    case ENOSYS:
    case EOPNOTSUPP:
    case ENXIO:
      return StatusCode::kUnsupported;
    case EINVAL:
    case ENAMETOOLONG:
    case ELOOP:
      return StatusCode::kInvalidArgument;
    default:
      return StatusCode::kIoError;
  }
}

}  // namespace

Status ErrnoStatus(int error, std::string_view action, std::u16string_view path) {
  return {CodeOf(error), "cannot " + std::string(action) + " " + PathForDisplay(path) + ": " +
                             std::generic_category().message(error)};
}

}  // namespace parvane::platform
