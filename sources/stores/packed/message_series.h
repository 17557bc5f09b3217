// The messages of a series of mailboxes, one after the other.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/mailbox_wishes.h"
#include "engine/source_observer.h"
#include "sources/mbox_reading.h"
#include "sources/message_buffer.h"
#include "sources/stores/packed/mailbox_series.h"
#include "sources/strict_judge.h"

namespace parvane::sources {

class MessageSeries : private SeparatorWatcher {
 public:
  // A separator line of which there is doubt.
  struct Doubt {
    std::uint64_t offset = 0;
    engine::SuspiciousSeparatorReason reason{};
    std::string line;
    bool strict = false;  // the strict rule takes it for text
  };

  MessageSeries(const std::vector<std::u16string>& files, SeriesWatcher& watcher,
                engine::SeparatorRule rule)
      : _mailboxes(files, watcher), _rule(rule) {}

  // Reads the next message into `message`, which is empty. False when there are no more.
  bool Next(MessageBuffer& message);

  const MailboxSeries& Mailboxes() const { return _mailboxes; }
  std::size_t Mailbox() const { return _mailbox; }              // from 0, that of the message
  std::uint64_t Offset() const { return _offset; }              // in its mailbox
  const std::string& Separator() const { return _separator; }   // the line before it, cut
  std::uint64_t PackedBytes() const { return _packed; }         // that it took of the files
  const std::vector<Doubt>& Doubts() const { return _doubts; }  // in front of it and in it

 private:
  void SeparatorFound(std::uint64_t offset, std::string_view line, bool afterEmptyLine) override;
  bool BeginMailbox();
  std::uint64_t Scan(MessageBuffer& message);
  bool AtEnd();
  void TellOf(Doubt suspect, std::string_view nextLine);
  void Add(Doubt doubt);

  MailboxSeries _mailboxes;
  engine::SeparatorRule _rule;
  std::optional<StrictJudge> _judge;  // of the mailbox in hand, by the strict rule
  std::optional<JudgedMailbox> _judged;
  bool _ofMmdf = false;
  bool _ofPatches = false;
  bool _suspected = false;  // the separator in front of the next message
  bool _afterEmptyLine = false;
  Doubt _suspect;
  bool _open = false;
  std::size_t _mailbox = static_cast<std::size_t>(-1);
  std::uint64_t _offset = 0;
  std::uint64_t _position = 0;  // of the files, behind the message
  std::uint64_t _packed = 0;
  std::string _separator, _nextSeparator;
  std::vector<Doubt> _doubts;
};

}  // namespace parvane::sources
