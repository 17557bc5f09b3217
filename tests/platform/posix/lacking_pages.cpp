#include "tests/platform/lacking_pages.h"

namespace parvane::platform {

bool MayLack(unsigned) { return false; }

}  // namespace parvane::platform
