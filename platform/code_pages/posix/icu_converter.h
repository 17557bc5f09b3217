// Conversion through a named ICU converter, with this room's way of replacing and counting.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace parvane::platform {

// Converters are opened once a thread and name. `name` must be a literal: its address is the key.
std::size_t IcuDecode(const char* name, std::string_view bytes, std::u16string& out);
std::size_t IcuEncode(const char* name, std::u16string_view text, std::string& out);

}  // namespace parvane::platform
