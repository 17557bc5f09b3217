// The names folders get in the PST.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace parvane::desk {

// A name as MAPI and the readers of PST files take it: no control characters, no unpaired
// surrogates, no white space at its ends, not empty, at most 255 UTF-16 units. A usable name comes
// back as it is.
std::u16string UsableFolderName(std::u16string_view name);

// The names given to the children of one folder. Two sources never share a folder by accident:
// a name that differs from an earlier one in nothing or in case only gets " (2)", " (3)"...
class SiblingNames {
 public:
  // A usable name near `name` that no sibling has.
  std::u16string Take(std::u16string_view name);

 private:
  // By the name taken, its case folded: the number that the next one of that name tries first.
  std::unordered_map<std::u16string, unsigned> _next;
};

}  // namespace parvane::desk
