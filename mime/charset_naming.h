// Charset names and Windows code-page numbers, both ways.
#pragma once

#include <optional>
#include <string_view>

namespace Tessary {

// The 139 code pages that the library converts through a charset name, each with its lower-case
// web name. Two pages share a name (50220 and 50222 are both "iso-2022-jp"); such a name means the
// page that reads more, 50222.
class CharsetNaming {
 public:
  // None for a page that is not in the table.
  static std::optional<std::string_view> NameOfCodePage(unsigned codePage);

  // Also knows the aliases met in mail. Letter case, white space and quotes around the name, and a
  // language after "*" (RFC 2231) are ignored. None for an unknown name.
  static std::optional<unsigned> CodePageOfName(std::string_view name);
};

}  // namespace Tessary
