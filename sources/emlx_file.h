// Reads the file of one EMLX message.
//
//   file     := count message list?
//   count    := space* digit+ space* LF       of the message's bytes; padded to a fixed width
//   message  := byte{count}                   as it came over the network
//   list     := an XML property list          flags, dates and numbers of the mail program
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

struct EmlxContent {
  ByteVector message;
  // Bytes of the message that the count announces and the file does not hold: it was cut off.
  std::uint64_t missing = 0;
  // What ReadPlist makes of the list; empty when there is none, or none that can be read.
  std::map<std::string, std::string> properties;
};

// kCorrupt when the first line is no count.
parvane::platform::Result<EmlxContent> ParseEMLX(std::string_view file);
// The same of a file, with the file system's own reasons.
parvane::platform::Result<EmlxContent> ReadEMLXFile(std::u16string_view path);

// Parses the message, and puts the bodies of parts that lie beside the file (LoadEMLXParts) back
// into it. "1234.partial.emlx", the name of a message with such parts, has parts named "1234.".
// kCorrupt when the message cannot be parsed.
parvane::platform::Status LoadEMLXMessage(std::u16string_view path, const EmlxContent& content,
                                          Tessary::TsMime& mime);

}  // namespace QuelmarMIMEEngineCommon
