// Reads the file of one EMLX message.
//
//   file     := count message list?
//   count    := space* digit+ space* LF       of the message's bytes; padded to a fixed width
//   message  := byte{count}                   as it came over the network
//   list     := an XML property list          flags, dates and numbers of the mail program
//
// The count is met wrong: one too small, as often as not, or of the message as it once was. Where
// a whole list stands at the end, the message ends in front of it, whatever the count says.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "platform/status.h"
#include "sources/mbox_reading.h"

namespace Tessary {
class TsMime;
}

namespace QuelmarMIMEEngineCommon {

// Views of the file.
struct EmlxPieces {
  std::string_view message;
  std::string_view list;  // empty: there is none
  // Bytes of the message that the count announces and the file does not hold: it was cut off.
  std::uint64_t missing = 0;
};

// kCorrupt when the first line is no count, and no header field either: a message that somebody
// took the count off is read all the same.
parvane::platform::Result<EmlxPieces> SplitEMLX(std::string_view file);

// What ReadPlist makes of a list; empty for none, for one that is damaged, and for one larger than
// any mail program's (1 MiB).
std::map<std::string, std::string> ReadEMLXProperties(std::string_view list);

struct EmlxContent {
  ByteVector message;
  std::uint64_t missing = 0;                      // see EmlxPieces
  std::map<std::string, std::string> properties;  // see ReadEMLXProperties
};

// SplitEMLX, with copies.
parvane::platform::Result<EmlxContent> ParseEMLX(std::string_view file);
// The same of a file, with the file system's own reasons.
parvane::platform::Result<EmlxContent> ReadEMLXFile(std::u16string_view path);

// Parses the message, and puts the bodies of parts that lie beside the file (LoadEMLXParts) back
// into it. "1234.partial.emlx", the name of a message with such parts, has parts named "1234.".
// kCorrupt when the message cannot be parsed.
parvane::platform::Status LoadEMLXMessage(std::u16string_view path, const EmlxContent& content,
                                          Tessary::TsMime& mime);

}  // namespace QuelmarMIMEEngineCommon
