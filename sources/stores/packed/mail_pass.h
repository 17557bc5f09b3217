// One pass over the messages of a packed source, each told with the folders that it goes to.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "sources/message_buffer.h"
#include "sources/stores/packed/joined_messages.h"
#include "sources/stores/packed/message_series.h"

namespace parvane::sources {

class PackedMailFolder;
class PackedMailStore;

class MailPass {
 public:
  MailPass(const std::vector<std::u16string>& files, PackedMailStore& store, SeriesWatcher& watcher,
           engine::SeparatorRule rule)
      : _series(files, watcher, rule), _store(store) {}

  // The folder that the next message, or the next copy of it, belongs to; null at the end.
  PackedMailFolder* Next();
  // Hands it over, or passes it by. Only after Next.
  void Take(MessageBuffer& message);
  void PassBy() { ++_copy; }

  // About the message that was handed over last.
  const MessageSeries& Series() const { return _series; }
  // Bytes that it took of the files, and the separators in doubt before it: for one of its copies.
  std::uint64_t TakeUnits() { return std::exchange(_units, 0); }
  std::vector<MessageSeries::Doubt> TakeDoubts() { return std::exchange(_doubts, {}); }

 private:
  MessageSeries _series;
  PackedMailStore& _store;
  JoinedMessages _joined;
  MessageBuffer _message;
  std::vector<PackedMailFolder*> _folders;  // of the message in hand
  std::size_t _copy = 0;                    // the next among them
  std::size_t _mailbox = static_cast<std::size_t>(-1);
  std::vector<PackedMailFolder*> _ofMailbox;  // where labels have no say
  std::uint64_t _units = 0;
  std::vector<MessageSeries::Doubt> _doubts;
};

}  // namespace parvane::sources
