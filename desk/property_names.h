// What a property that the conversion writes is to people.
#pragma once

#include <cstdint>
#include <string>

namespace parvane::desk {

// "subject (0x0037001F)"; "a property (0x12345678)" for one without a name here.
std::string PropertyName(std::uint32_t tag);

}  // namespace parvane::desk
