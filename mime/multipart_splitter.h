// Cutting a multipart body at its boundary, in one scan.
//
//   body      := preamble delimiter part *(delimiter part) closing epilogue
//   delimiter := "--" boundary *WSP (CR LF | LF | end of body)
//   closing   := "--" boundary "--"
//
// A delimiter counts wherever it stands, also behind text whose last line end was lost; only a
// line that is itself a longer delimiter ("--" before it on the same line) is left alone, as
// nested boundaries often end in the outer one. The line break before a delimiter belongs to it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "mime/byte_search.h"
#include "mime/parse_log.h"

namespace Tessary {

// A part of at most this many bytes is dropped.
inline constexpr std::size_t kSmallestPart = 4;

struct MultipartSplit {
  // False: the boundary occurs in no form; the body is one whole.
  bool found = false;
  // The boundary in the form in which it was found (see SplitMultipart).
  std::string boundary;
  std::vector<std::string_view> parts;    // in order; views of the body
  std::vector<std::string_view> dropped;  // the small parts that held more than white space
};

// Looks for the boundary as it is, then in the damaged forms met in mail: with line feeds only,
// with the space that "=_alternative" boundaries lose, in the ANSI code page, with white space
// behind it. Each step is noted in the log. At most `maxParts` parts are cut off; the last of them
// then holds all the rest.
MultipartSplit SplitMultipart(std::string_view body, const std::string& boundary,
                              std::size_t maxParts, ParseLog& log);

}  // namespace Tessary
