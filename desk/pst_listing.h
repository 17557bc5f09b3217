// What a PST holds, folder by folder, as a listing shows it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "desk/message_marks.h"
#include "desk/pst_session.h"
#include "platform/time.h"

namespace parvane::desk {

struct ListedMessage : MessageMarks {
  platform::FileTime time;  // submitted, else delivered; zero when neither is known
  std::u16string from;
  std::u16string subject;
  std::uint64_t size = 0;
  std::vector<std::u16string> attachments;  // file names (empty text: none) of those
                                            // that are not shown in the text
};

struct ListedFolder {
  std::vector<std::u16string> path;  // below the top folder
  std::uint64_t messages = 0;
  std::uint64_t unread = 0;
  std::uint64_t size = 0;  // bytes, of the messages
};

// Takes the folders in the order of a tree walk, each followed by its messages.
class ListingSink {
 public:
  virtual ~ListingSink() = default;
  virtual bool WantsMessages() const = 0;
  virtual void BeginFolder(const ListedFolder& folder) = 0;
  virtual void Message(const ListedMessage& message) = 0;
  virtual void EndFolder() = 0;
  // So many messages of the folder have been looked at.
  virtual void Progress(const ListedFolder& folder, std::uint64_t messages) = 0;
  // Something was left out or is shown without a part that cannot be read: where, what and why, in
  // one line. The walk goes on.
  virtual void Unreadable(const std::string& what) = 0;
};

// Walks the whole tree. Fails only when there is no way into it.
platform::Status WalkPst(const PstSession& session, ListingSink& sink);

}  // namespace parvane::desk
