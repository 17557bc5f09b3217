// The name that a mail program shows for a store.
#pragma once

#include <string_view>

#include "platform/file.h"
#include "platform/status.h"

namespace parvane::pstfile {

// Calls the store `name` if it is called `was`, as one is that took its name from its file while
// that had another. Nobody else may have the file open for writing.
platform::Status RenameStore(platform::FileSystem& files, std::u16string_view path,
                             std::u16string_view was, std::u16string_view name);

}  // namespace parvane::pstfile
