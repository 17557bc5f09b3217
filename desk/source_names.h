// What is made of the names of sources.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace parvane::desk {

// What a folder made for this path is called: the last component, without the extension of a
// mailbox file.
std::u16string NameForSource(std::u16string_view path);

// All of them in a line, as they were given.
std::string ListOfSources(const std::vector<std::u16string>& sources);

// "/x/takeout-20250101T120000Z-001.zip": what its other parts have in common with it; empty for a
// file that is no part.
std::u16string SeriesOf(std::u16string_view path);

}  // namespace parvane::desk
