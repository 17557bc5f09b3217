// An open regular file, and what stat tells of files.
#pragma once

#include <memory>
#include <string_view>

#include <sys/stat.h>

#include "platform/file.h"
#include "platform/posix/descriptor.h"

namespace parvane::platform {

FileKind KindOf(mode_t mode);
FileInformation InformationOf(const struct stat& info);

// `path` is what errors name.
std::unique_ptr<RandomAccessFile> MakePosixFile(Descriptor fd, std::u16string_view path);

}  // namespace parvane::platform
