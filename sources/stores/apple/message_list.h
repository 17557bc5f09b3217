// The messages of a mailbox, collected from its directories: in the order of their numbers, each
// once.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sources/message_file_folder.h"
#include "sources/stores/apple/apple_layout.h"

namespace parvane::sources {

class MessageList {
 public:
  // The messages among the entries of the directory `path`, which is `below` in the mailbox (empty:
  // the mailbox's own). Their sizes count what lies beside them. Of "7.emlx" and "7.partial.emlx",
  // which are one message, the complete one counts.
  void AddDirectory(std::u16string_view path, std::u16string_view below, const Entries& entries);

  bool empty() const { return _messages.empty(); }
  void AddTo(QuelmarMIMEEngineCommon::MessageFileFolder& folder);

 private:
  struct Message {
    std::uint64_t number = 0;
    std::size_t directory = 0;  // in _directories
    std::uint64_t size = 0;
    std::u16string name;
  };

  std::vector<std::u16string> _directories;
  std::vector<Message> _messages;
};

}  // namespace parvane::sources
