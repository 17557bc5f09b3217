// Puts the bodies of parts that Apple Mail keeps outside of a message back into it.
//
// Such a part has its header in the message, with a field X-Apple-Content-Length, and nothing
// behind it. Its number is the way to it from the top, counted from 1 ("2", "2.1"); a message that
// is but one part has number 1, and the parts of a message inside a part go on below that part's.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mime/byte_slice.h"
#include "platform/input_stream.h"
#include "platform/status.h"
#include "sources/message_buffer.h"

namespace parvane::sources {

struct LeftOutPart {
  std::string number;   // digits and dots
  std::u16string name;  // of its file, as the header has it; empty when there is none
};

// The body of one, in a file of its own.
struct PartBody {
  std::unique_ptr<platform::InputStream> bytes;
  std::uint64_t size = 0;  // about
  bool encoded = false;    // it is still in the part's transfer encoding
};
using FindPartBody = std::function<platform::Result<PartBody>(const LeftOutPart&)>;

struct PutBack {
  struct Missing {
    LeftOutPart part;
    platform::Status why;
  };

  std::uint64_t restored = 0;
  std::vector<Missing> missing;  // these stay empty
  std::uint64_t moreMissing = 0;
};

// False when no part of the message can be one that was left out.
bool MayLackParts(std::string_view message);

// Appends the message, all of whose line ends are CR LF, with its parts' bodies to `out`. A body
// that is not encoded is put in as base64, which the part's header then says: its bytes stay what
// they are, and none can be taken for a boundary. One that cannot be read to its end is missing.
PutBack PutPartsBack(const Tessary::ByteSlice& message, const FindPartBody& find,
                     MessageBuffer& out);

}  // namespace parvane::sources
