// File extensions by content type, for parts that carry no name of their own.
#pragma once

#include <string_view>

namespace Tessary {

// The extension without its dot, "dat" for a type the table does not know. Letter case of the type
// is ignored.
std::string_view ExtensionOfContentType(std::string_view contentType);

}  // namespace Tessary
