// Where Apple Mail keeps the parts that it leaves out of a message.
//
//   Messages/61900.partial.emlx                  the message
//   Attachments/61900/2.1/picture.png            what stood at 2.1 in it, decoded
//   Messages/61900.2.1.emlxpart                  the same as older versions wrote it: still encoded
//
// No name out of a message is ever part of a path.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/status.h"
#include "sources/stores/apple/left_out_parts.h"

namespace parvane::sources {

class PartFiles {
 public:
  // Of the message "61900" in the folder `messages`.
  PartFiles(std::u16string_view messages, std::u16string_view message);

  // kNotFound: the mail program never fetched the part; else why its file cannot be had.
  platform::Result<PartBody> Find(const LeftOutPart& part) const;
  // About how much longer the message is with its parts; those of older versions are not counted.
  std::uint64_t Size() const;

 private:
  std::u16string _attachments;
  std::u16string _encodedStem;
};

}  // namespace parvane::sources
