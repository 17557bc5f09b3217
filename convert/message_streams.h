// Property values that are written through a stream, because they may be of any length.
#pragma once

#include <string_view>

#include "mapi/property_object.h"

namespace parvane::convert {

// Creates the property and writes all bytes; false when MAPI refused any of it.
bool WritePropertyStream(mapi::IMAPIProp& object, mapi::ULONG tag, std::string_view bytes);

}  // namespace parvane::convert
