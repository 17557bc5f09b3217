#include "sources/stores/packed/label_survey.h"

#include <algorithm>

#include "platform/text.h"
#include "sources/state/gmail_labels.h"
#include "sources/stores/packed/joined_messages.h"
#include "sources/stores/packed/message_series.h"

namespace parvane::sources {
namespace {

// In front of a key that is the name of a discussion group; no field begins with it.
constexpr char kGroup = '\1';
constexpr char kMailbox = '\2';  // the same, of a mailbox
constexpr std::u16string_view kTopics = u"topics.mbox";

// ".../GROUP@googlegroups.com/topics.mbox": GROUP@googlegroups.com.
std::u16string_view GroupIn(std::u16string_view mailbox) {
  const std::size_t end = mailbox.rfind(u'/');
  if (end == mailbox.npos || mailbox.substr(end + 1) != kTopics) return {};
  mailbox = mailbox.substr(0, end);
  return mailbox.substr(mailbox.rfind(u'/') + 1);
}

}  // namespace

LabelFields::LabelFields(const Tessary::MimeHeader& header, std::u16string_view mailbox) {
  if (const std::u16string_view group = GroupIn(mailbox); !group.empty()) {
    _key = kGroup + platform::Utf16ToUtf8(group);
    return;
  }
  std::string scratch;
  header.ForEach("X-Gmail-Labels", [&](const Tessary::MimeField& field) {
    _key.append(Tessary::Unfold(field.RawValue(), scratch)).append("\n");
  });
  if (_key.empty()) _key = kMailbox + platform::Utf16ToUtf8(mailbox);
}

std::vector<std::u16string> LabelFields::LabelsOfKey(const std::string& key) {
  if (key.starts_with(kGroup) || key.starts_with(kMailbox)) return {};
  std::vector<std::u16string> labels;
  for (std::size_t at = 0; at < key.size();) {
    const std::size_t end = std::min(key.find('\n', at), key.size());
    for (std::u16string& label : SplitGmailLabels(std::string_view(key).substr(at, end - at)))
      labels.push_back(std::move(label));
    at = end + 1;
  }
  return labels;
}

std::u16string LabelFields::GroupOfKey(const std::string& key) {
  return key.starts_with(kGroup) ? platform::Utf8ToUtf16(std::string_view(key).substr(1))
                                 : std::u16string();
}

std::u16string LabelFields::MailboxOfKey(const std::string& key) {
  return key.starts_with(kMailbox) ? platform::Utf8ToUtf16(std::string_view(key).substr(1))
                                   : std::u16string();
}

void LabelSurvey::Run(const std::vector<std::u16string>& files, SeriesWatcher& watcher,
                      engine::SeparatorRule rule,
                      const std::function<bool(std::uint64_t)>& goesOn) {
  constexpr std::uint64_t kOften = 16u << 20;
  MessageSeries series(files, watcher, rule);
  MessageBuffer message;
  JoinedMessages joined;
  std::uint64_t told = 0;
  for (; series.Next(message); message.clear()) {
    Tessary::MimeHeader header;
    header.Load(message.view());
    _mailboxes = series.Mailbox() + 1;
    if (joined.IsCopy(header, series.Separator(), series.Mailbox())) continue;
    const LabelFields fields(header, series.Mailboxes().Name());
    auto found = _sets.find(fields.Key());
    if (found == _sets.end()) {
      found = _sets.emplace(IsFull() ? std::string() : fields.Key(), Set{}).first;
      _bytes += found->first.size();
    }
    if (LabelFields::MailboxOfKey(fields.Key()).empty())
      _labelled.insert(series.Mailboxes().Name());
    ++found->second.messages;
    found->second.packedBytes += series.PackedBytes();
    const std::uint64_t position = series.Mailboxes().Position();
    if (position < told + kOften && message.size() < kOften) continue;
    told = position;
    if (!goesOn(position)) return;
  }
}

GmailLanguages LabelSurvey::Languages() const {
  GmailLanguageVote vote;
  for (const auto& [key, set] : _sets) {
    for (const std::u16string& label : LabelFields::LabelsOfKey(key)) vote.Add(label, set.messages);
  }
  return vote.Winners();
}

}  // namespace parvane::sources
