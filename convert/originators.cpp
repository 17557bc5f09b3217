// From, Sender, Reply-To and Delivered-To.

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "convert/flat_entry_list.h"
#include "convert/mime_to_mapi_message_converter.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "mime/address_list.h"
#include "mime/email_message.h"
#include "mime/encoded_words.h"
#include "mime/facade/library_access.h"
#include "mime/facade/ts_email.h"
#include "mime/mailbox.h"
#include "platform/text.h"

namespace QuelmarMIMEEngineCommon {

using namespace OrvMAPIUtilities;
using namespace parvane::mapi;
using Tessary::AddressField;
using Tessary::EmailMessage;
using Tessary::TsEmail;

namespace {

// Published as PidTagReplyRecipientSMTPProxies.
constexpr ULONG kReplyRecipientAddressesTag = PropTag(PT_UNICODE, 0x3FFC);

// Calls `take` with the mailboxes of a header field, names decoded, until it returns false; false
// when there is no such field. Every comma cuts, also one inside quotes; encoded words are decoded
// only then, so that a comma or bracket inside one separates nothing.
bool ForEachMailBoxOf(EmailMessage& email, std::string_view field,
                      const EmailMessage::TakeMailBox& take) {
  std::string scratch;
  std::string_view text;
  if (!email.Field(field, scratch, text)) return false;
  std::vector<MailBox> mailBoxes;
  while (!text.empty()) {
    mailBoxes.clear();
    ParseMailBoxList(parvane::platform::Utf8ToUtf16(Tessary::TakePiece(text)), mailBoxes);
    for (MailBox& mailBox : mailBoxes) {
      mailBox.name = Tessary::DecodeEncodedWords(mailBox.name);
      if (!take(mailBox)) return true;
    }
  }
  return true;
}

// The same for fields of which repair may know the mailboxes already.
bool ForEachMailBoxOf(EmailMessage& email, AddressField field,
                      const EmailMessage::TakeMailBox& take) {
  return email.MayHave(field) && (email.ForEachKnownMailbox(field, take) ||
                                  ForEachMailBoxOf(email, Tessary::NameOf(field), take));
}

// Those that a step has read instead.
void ForEachOf(const std::vector<MailBox>& mailBoxes, const EmailMessage::TakeMailBox& take) {
  for (const MailBox& mailBox : mailBoxes) {
    if (!take(mailBox)) return;
  }
}

// One correspondent takes four properties, always in this order.
struct OriginatorTags {
  ULONG entryId;
  ULONG name;
  ULONG addressType;
  ULONG address;
};
constexpr OriginatorTags kSentRepresentingTags = {
    PR_SENT_REPRESENTING_ENTRYID, PR_SENT_REPRESENTING_NAME_W, PR_SENT_REPRESENTING_ADDRTYPE_W,
    PR_SENT_REPRESENTING_EMAIL_ADDRESS_W};
constexpr OriginatorTags kSenderTags = {PR_SENDER_ENTRYID, PR_SENDER_NAME_W, PR_SENDER_ADDRTYPE_W,
                                        PR_SENDER_EMAIL_ADDRESS_W};
constexpr OriginatorTags kReceivedByTags = {PR_RECEIVED_BY_ENTRYID, PR_RECEIVED_BY_NAME_W,
                                            PR_RECEIVED_BY_ADDRTYPE_W,
                                            PR_RECEIVED_BY_EMAIL_ADDRESS_W};

void WriteOriginator(IMessage& message, const OriginatorTags& tags, const OneOffEntry& entry) {
  std::array<SPropValue, 4> properties = {
      BinaryOf(tags.entryId, entry.entryIdSize(), entry.entryId()),
      TextOf(tags.name, entry.displayName().c_str()), TextOf(tags.addressType, entry.addressType()),
      TextOf(tags.address, entry.emailAddress().c_str())};
  SetProperties(message, properties.size(), properties.data());
}

bool HasText(std::u16string_view text) {
  return !std::all_of(text.begin(), text.end(), parvane::platform::IsWhiteSpace);
}

void AppendItem(std::u16string& list, const std::u16string& item, bool first) {
  if (!first) list += u';';
  list += item;
}

}  // namespace

void MIMEToMAPIMessageConverter::WriteSender(TsEmail* email, IMessage* message) {
  EmailMessage* parsed = email ? MessageOf(*email) : nullptr;
  if (!parsed || !message) return;
  std::optional<MailBox> sender;
  const auto takeSender = [&](const MailBox& mailBox) {
    sender = mailBox;
    return false;
  };
  if (const auto* read = _stepP->Correspondents({*parsed, _depth}, AddressField::kSender)) {
    ForEachOf(*read, takeSender);
  } else {
    ForEachMailBoxOf(*parsed, AddressField::kSender, takeSender);
  }
  const auto takeAuthor = [&](const MailBox& author) {
    if (!HasText(author.name) && !HasText(author.address)) return false;
    const OneOffEntry from(_addressBookP, author.name, author.address);
    WriteOriginator(*message, kSentRepresentingTags, from);
    if (!sender) WriteOriginator(*message, kSenderTags, from);
    return false;
  };
  if (const auto* read = _stepP->Correspondents({*parsed, _depth}, AddressField::kFrom)) {
    ForEachOf(*read, takeAuthor);
  } else {
    parsed->ForEachMailbox(AddressField::kFrom, std::ref(takeAuthor));
  }
  if (sender) {
    WriteOriginator(*message, kSenderTags,
                    OneOffEntry(_addressBookP, sender->name, sender->address));
  }
}

void MIMEToMAPIMessageConverter::WriteReplyTo(TsEmail* email, IMessage* message) {
  EmailMessage* parsed = email ? MessageOf(*email) : nullptr;
  if (!parsed || !message) return;
  std::u16string names;
  std::u16string addresses;
  parvane::convert::FlatEntryList entries;
  bool first = true;
  const auto take = [&](const MailBox& mailBox) {
    const OneOffEntry entry(_addressBookP, mailBox.name, mailBox.address);
    // They are one value each, however many there are.
    constexpr std::size_t kMostBytes = 4 << 20;
    if (entries.size() > kMostBytes) {
      parvane::mapi::NoteRefusal(MAPI_E_TOO_BIG, PR_REPLY_RECIPIENT_ENTRIES);
      return false;
    }
    AppendItem(names, entry.displayName(), first);
    AppendItem(addresses, entry.emailAddress(), first);
    entries.Add({entry.entryId(), entry.entryIdSize()});
    first = false;
    return true;
  };
  if (const auto* read = _stepP->Correspondents({*parsed, _depth}, AddressField::kReplyTo)) {
    ForEachOf(*read, take);
  } else if (!ForEachMailBoxOf(*parsed, AddressField::kReplyTo, std::ref(take))) {
    return;
  }
  SetPropString(message, PR_REPLY_RECIPIENT_NAMES_W, names.c_str());
  SetPropString(message, kReplyRecipientAddressesTag, addresses.c_str());
  const std::vector<BYTE>& list = entries.Bytes();
  SetPropBin(message, PR_REPLY_RECIPIENT_ENTRIES, static_cast<ULONG>(list.size()), list.data());
}

void MIMEToMAPIMessageConverter::WriteDeliveredTo(TsEmail* email, IMessage* message) {
  EmailMessage* parsed = email ? MessageOf(*email) : nullptr;
  if (!parsed || !message) return;
  ForEachMailBoxOf(*parsed, "Delivered-To", [&](const MailBox& mailBox) {
    const OneOffEntry entry(_addressBookP, mailBox.name, mailBox.address);
    WriteOriginator(*message, kReceivedByTags, entry);
    return false;
  });
}

}  // namespace QuelmarMIMEEngineCommon
