// Toolkit for EMLX files: one message a file, with large parts kept beside it and a property list
// behind it. The store of Apple Mail puts parts back before it parses (sources/stores/apple).
#pragma once

#include <map>
#include <string>
#include <vector>

namespace pugi {
class xml_document;
}
namespace Tessary {
class TsMime;
}

namespace QuelmarMIMEEngineCommon {

// Puts the bodies of left-out parts (marked by a header "X-Apple-Content-Length") back into the
// tree. `partPath` holds the 0-based indexes from the top of the tree down to `mime`; the part's
// file is `directory`/`fileBase`, ".n" for each index plus 1, ".emlxpart" (1234.2.1.emlxpart).
// Narrow paths are UTF-8. A missing file is only reported, on standard output; its part stays
// empty.
void LoadEMLXParts(Tessary::TsMime* mime, std::vector<int> partPath, std::string fileBase,
                   std::string directory);

// Stores every key of the property list's dictionary with the text of the element behind it; a
// later equal key wins.
void ReadPlist(pugi::xml_document& plist, std::map<std::string, std::string>& properties);

}  // namespace QuelmarMIMEEngineCommon
