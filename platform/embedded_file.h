// A file that the build has put into the program (cmake/Embed.cmake).
#pragma once

#include <string_view>

namespace parvane::platform {

// Both last as long as the program.
struct EmbeddedFile {
  std::string_view name;  // below its folder, with "/"
  std::string_view bytes;
};

}  // namespace parvane::platform
