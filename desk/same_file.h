// Whether two looks at the disk have met the same file.
#pragma once

#include "platform/file.h"

namespace parvane::desk {

// False where either found nothing.
inline bool IsSameFile(const platform::FileInformation& one,
                       const platform::FileInformation& other) {
  return one.kind != platform::FileKind::kNone && one.kind == other.kind &&
         one.device == other.device && one.identity == other.identity;
}

}  // namespace parvane::desk
