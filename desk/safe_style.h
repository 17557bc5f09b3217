// Style of a stranger's mail: declarations whose properties and values are of a list. What could
// load, run, or lay itself over other things is not: no url(), no import, no escape, no position.
#pragma once

#include <string>
#include <string_view>

namespace parvane::desk {

// "color:red;background:url(x)" gives "color:red;".
std::string SafeDeclarations(std::string_view declarations);
// The plain rules of a style sheet; those with an "@" are left out with all that is in them.
std::string SafeSheet(std::string_view sheet);

}  // namespace parvane::desk
