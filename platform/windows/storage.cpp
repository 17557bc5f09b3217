// What files share with others: who may read them, and the space they stand in.
#include <vector>

#include "platform/file.h"
#include "platform/windows/system_paths.h"
#include "platform/windows/windows_text.h"

namespace parvane::platform {

// The owner stays: who may write a file may not give it away.
Status CopyAccessRights(std::u16string_view from, std::u16string_view to) {
  const std::wstring source = ToSystemPath(from), target = ToSystemPath(to);
  DWORD size = 0;
  ::GetFileSecurityW(source.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
  std::vector<std::byte> descriptor(size);
  if (size == 0 || !::GetFileSecurityW(source.c_str(), DACL_SECURITY_INFORMATION, descriptor.data(),
                                       size, &size)) {
    return SystemErrorStatus(::GetLastError(), "inspect", from);
  }
  if (::SetFileSecurityW(target.c_str(), DACL_SECURITY_INFORMATION, descriptor.data())) return {};
  return SystemErrorStatus(::GetLastError(), "change the access rights of", to);
}

bool IsDanglingLink(std::u16string_view path) {
  const DWORD attributes = ::GetFileAttributesW(ToSystemPath(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES &&
         (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         FileSystem::Default().Inspect(path).kind == FileKind::kNone;
}

std::optional<std::uint64_t> FreeSpace(std::u16string_view folder) {
  ULARGE_INTEGER free;
  if (!::GetDiskFreeSpaceExW(ToSystemPath(folder).c_str(), &free, nullptr, nullptr)) return {};
  return free.QuadPart;
}

}  // namespace parvane::platform
