// Shows what one node of a PST holds, for people who look for a fault or learn the format:
//
//   in node 0x8022
//   node 0x200024: message, data in block 0x414, subnodes in block 0x418
//     0037001F PR_SUBJECT                    "Boat on Saturday?"
//     0E070003 PR_MESSAGE_FLAGS              1 (0x1)
//     subnode 0x692: recipient table, data in block 0x40C
//       18 columns, 1 rows
//       row 0x1
//         3001001F PR_DISPLAY_NAME           "Ingrid"
//
// Property contexts are shown property by property, tables row by row, anything else in
// hexadecimal; subnodes follow, embedded messages to a depth of 16.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "pstfile/check/integrity_checker.h"

namespace parvane::pstfile {

// Where the dump goes. Findings are about what could not be shown, or is shown as it is although
// something is wrong with it.
class DumpSink : public FindingSink {
 public:
  // Without a line end; printable text of values is not guaranteed.
  virtual void OnLine(const std::string& line) = 0;
  // The published name of a property tag; empty when it has none.
  virtual std::string_view NameOfTag(std::uint32_t tag) const = 0;
};

// The node `nid` of the file. Fails as CheckFile does, and with kNotFound when there is no such
// node.
platform::Status DumpNode(platform::FileSystem& files, std::u16string_view path, std::uint32_t nid,
                          DumpSink& sink);

}  // namespace parvane::pstfile
