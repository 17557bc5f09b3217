// What the labels of an export say, found in one pass over the headers of all its messages.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/mailbox_wishes.h"
#include "mime/mime_header.h"
#include "sources/state/gmail_label_names.h"
#include "sources/stores/packed/mailbox_series.h"

namespace parvane::sources {

// The fields that decide where a message goes, as they stand in its header.
class LabelFields {
 public:
  // `mailbox` is the name of its mailbox.
  LabelFields(const Tessary::MimeHeader& header, std::u16string_view mailbox);
  // Equal for messages that go to the same places.
  const std::string& Key() const { return _key; }

  // From the key: the labels; of a discussion group, whose labels are about its topics, its name.
  static std::vector<std::u16string> LabelsOfKey(const std::string& key);
  static std::u16string GroupOfKey(const std::string& key);
  // Of a message without labels, the name of its mailbox.
  static std::u16string MailboxOfKey(const std::string& key);

 private:
  std::string _key;
};

class LabelSurvey {
 public:
  // Different sets of labels; further ones are not told apart.
  static constexpr std::size_t kMostSets = 100'000;
  static constexpr std::size_t kMostBytes = 64u << 20;  // of all their labels

  struct Set {
    std::uint64_t messages = 0;
    std::uint64_t packedBytes = 0;
  };

  // `goesOn` is called now and then, with how many bytes of the files have been read; false ends
  // the survey.
  void Run(const std::vector<std::u16string>& files, SeriesWatcher& watcher,
           engine::SeparatorRule rule, const std::function<bool(std::uint64_t)>& goesOn);

  const std::map<std::string, Set>& Sets() const { return _sets; }
  std::size_t Mailboxes() const { return _mailboxes; }
  bool IsFull() const { return _sets.size() >= kMostSets || _bytes >= kMostBytes; }
  // Names of mailboxes with labels on their messages.
  std::set<std::u16string> TakeLabelled() { return std::move(_labelled); }
  GmailLanguages Languages() const;

 private:
  std::map<std::string, Set> _sets;
  std::size_t _bytes = 0;  // of their keys
  std::set<std::u16string> _labelled;
  std::size_t _mailboxes = 0;
};

}  // namespace parvane::sources
