// The mailboxes in several files, one after the other, from front to back: files that are
// mailboxes, compressed ones, and archives with mailboxes in them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "archives/archive_reader.h"
#include "engine/source_observer.h"
#include "platform/input_stream.h"
#include "sources/mailbox_cutting.h"

namespace parvane::sources {

// Hears what is not read, and why: where it lies is told as a path, the archive's and behind it the
// entry's name.
class SeriesWatcher {
 public:
  virtual void NotRead(const std::u16string& path, engine::SkipReason reason,
                       const platform::Status& why) = 0;

 protected:
  ~SeriesWatcher() = default;
};

class MailboxSeries {
 public:
  // `watcher` must outlive it.
  MailboxSeries(const std::vector<std::u16string>& files, SeriesWatcher& watcher);

  // Goes to the next mailbox; false when there are no more.
  bool Next();
  // Goes to the next one of the next file.
  void LeaveFile() { Close(); }

  std::size_t File() const { return _file; }            // its place among the files
  const std::u16string& Name() const { return _name; }  // of the entry or file, "/" between folders
  std::u16string Path() const;  // for people: the file's path, and the name in it
  bool IsEntry() const { return _entryOfArchive; }  // of an archive with any number of them
  std::uint64_t ClaimedSize() const { return _claimed; }
  // What stands before its first separator, as long as nothing has been read of it.
  MailboxBeginning HowItBegins();
  platform::InputStream& Stream() { return _archive ? _archive->Stream() : *_plain; }
  // How far the files have been read.
  std::uint64_t Position() const;

 private:
  bool OpenFile();
  bool NextEntry();
  // The entry in hand is to be read as a mailbox.
  bool IsMailbox();
  engine::SkipReason ReasonNotToRead();
  void EndMailbox();
  void Close();

  const std::vector<std::u16string>& _files;
  SeriesWatcher& _watcher;
  std::size_t _file = 0;
  bool _begun = false;  // with the file
  bool _inMailbox = false;
  std::unique_ptr<archives::ArchiveReader> _archive;
  std::unique_ptr<platform::InputStream> _plain;
  std::u16string _name;
  bool _entryOfArchive = false;
  std::uint64_t _claimed = 0;
  std::uint64_t _before = 0;  // bytes of the files that have been read
  std::uint64_t _size = 0;    // of the file in hand
};

}  // namespace parvane::sources
