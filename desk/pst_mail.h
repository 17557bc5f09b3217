// Every message of one PST after another, folder by folder.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "mapi/com_pointer.h"
#include "mapi/message.h"
#include "platform/status.h"

namespace parvane::desk {

class PstMailVisitor {
 public:
  virtual ~PstMailVisitor() = default;
  // A folder that holds so many messages; false ends it all, here and below.
  virtual bool BeginFolder(const std::vector<std::u16string>& path, std::uint64_t messages) = 0;
  // The next message of all, whose number is `place`; whether it has to be opened.
  virtual bool Wants(std::uint32_t place) = 0;
  virtual bool Message(std::uint32_t place, mapi::IMessage& message) = 0;
  // As ListingSink.
  virtual void Unreadable(const std::string& what) = 0;
};

// The PSTs must exist. Numbers go on from one to the next, and are the same each time, as long as
// nothing is written. Fails when there is no way into one of them.
platform::Status VisitMail(const std::vector<std::u16string>& psts, PstMailVisitor& visitor);

}  // namespace parvane::desk
