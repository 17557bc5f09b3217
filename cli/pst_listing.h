// What a PST holds, folder by folder, as a listing shows it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/pst_session.h"
#include "platform/time.h"

namespace parvane::cli {

struct ListedMessage {
  platform::FileTime time;  // submitted, else delivered; zero when neither is known
  std::u16string from;
  std::u16string subject;
  std::uint64_t size = 0;
  bool unread = false;
  std::vector<std::u16string> attachments;  // file names; empty text for those without
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
};

// Walks the whole tree. What cannot be read is left out; the status tells of the first such place.
platform::Status WalkPst(const PstSession& session, std::u16string_view path, ListingSink& sink);

}  // namespace parvane::cli
