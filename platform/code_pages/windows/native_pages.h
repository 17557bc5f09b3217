// Code pages as the system's own tables have them. Only files of this folder include it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace parvane::platform {

std::size_t DecodeByTheSystem(unsigned codePage, std::string_view bytes, std::u16string& out);
std::size_t EncodeByTheSystem(unsigned codePage, std::u16string_view text, std::string& out);

}  // namespace parvane::platform
