// Reading a message that has a file of its own: an .eml file, a file of a maildir.
#pragma once

#include <string>

#include "platform/input_stream.h"
#include "sources/message_buffer.h"

namespace parvane::sources {

// What stood in front of the message's first header line.
struct MessageFileStart {
  // A separator line ("From …", or ">From …" as some programs quote it), cut after some length;
  // empty: there was none. It is no part of the message.
  std::string separator;
};

// Appends the whole stream to `message`, its lines ended by CR LF: without a UTF-8 byte order mark,
// and without separator lines, at its start. Lines that begin with "From " or ">From " further on
// stay as they are. Of a message that memory does not suffice for `message` keeps only how long it
// is (lost()). Whether reading failed, the stream tells.
MessageFileStart ReadMessageFile(platform::InputStream& stream, MessageBuffer& message);

}  // namespace parvane::sources
