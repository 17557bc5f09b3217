// A mailbox of Thunderbird and its index together: whether the index is about this very file, and
// what it tells of each message in it.
//
// Folders kept here: Thunderbird writes marks into both, so an index that is not of this very file
// is not needed. Copies of a server's folders: the marks are in the index alone, and what it does
// not list has been deleted or replaced.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "engine/message_state.h"
#include "engine/source_observer.h"
#include "platform/file.h"
#include "sources/mbox_reading.h"
#include "sources/state/header_state.h"
#include "sources/state/thunderbird_index.h"

namespace parvane::sources {

class MailboxIndex {
 public:
  // Thunderbird keeps a folder's messages in one file, or in files of their own in a directory.
  enum class Kind { kFile, kDirectory };

  // Reads the index beside the mailbox, if there is one.
  explicit MailboxIndex(std::u16string mailbox, Kind kind = Kind::kFile);
  // Whether a directory is a folder of Thunderbird's.
  static bool KnowsDirectory(const std::u16string& directory);

  // Why marks that an index should tell are not taken from one; nothing when all is well.
  const std::optional<engine::IndexFault>& fault() const { return _fault; }
  const platform::Status& status() const { return _status; }
  const std::u16string& path() const { return _path; }

  // Whether the index, if it is to be believed, has a message whose separator stands there.
  std::optional<bool> HasSeparatorAt(std::uint64_t offset) const {
    return _index ? std::optional(_index->At(offset) != nullptr) : std::nullopt;
  }
  engine::MessageState StateOf(const MessagePlace& place, const StateHeaders& headers,
                               const engine::StateWishes& wishes);
  // Of a message in a file of its own, which has no place in the mailbox: its row is that of its
  // Message-ID.
  engine::MessageState StateOfFile(const StateHeaders& headers, const engine::StateWishes& wishes);

 private:
  struct Found {
    const ThunderbirdIndex::Row* row = nullptr;
    bool gone = false;  // deleted, or another copy took its place
  };

  void Judge();
  // A separator stands there, and the message behind it has this id.
  bool StandsAt(std::uint64_t offset, std::uint64_t idHash);
  Found Find(const MessagePlace& place, std::uint64_t idHash);

  Kind _kind;
  std::u16string _mailbox;
  std::u16string _path;                    // of the index
  std::optional<ThunderbirdIndex> _index;  // only if it is to be believed
  bool _copy = false;                      // of a server's folder
  bool _marks = false;                     // its program has marked a message in the mailbox itself
  std::optional<engine::IndexFault> _fault;
  platform::Status _status;
  std::unique_ptr<platform::RandomAccessFile> _file;  // the mailbox, for a second look
};

}  // namespace parvane::sources
