// Which code pages the system under the tests may be without.
#pragma once

namespace parvane::platform {

// True for a page that this system's tables lack, or have otherwise than the system they come from.
bool MayLack(unsigned codePage);

}  // namespace parvane::platform
