// From, Sender, Reply-To and Delivered-To.

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "convert/flat_entry_list.h"
#include "convert/mime_to_mapi_message_converter.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/tags.h"
#include "mime/address_list.h"
#include "mime/encoded_words.h"
#include "mime/facade/cls_email.h"
#include "mime/facade/ts_email.h"
#include "mime/mailbox.h"
#include "platform/text.h"

namespace QuelmarMIMEEngineCommon {

using namespace OrvMAPIUtilities;
using namespace parvane::mapi;
using Tessary::ClsEmail;
using Tessary::TsEmail;

namespace {

// Published as PidTagReplyRecipientSMTPProxies.
constexpr ULONG kReplyRecipientAddressesTag = PropTag(PT_UNICODE, 0x3FFC);

// The mailboxes of a header field, names decoded; false when there is no such field. Encoded words
// are decoded only now, so that a comma or bracket inside one separates nothing.
bool MailBoxesOf(TsEmail& email, const char* field, std::vector<MailBox>& mailBoxes) {
  std::string scratch;
  std::string_view text;
  if (!ClsEmail::Fields(email.impl()).View(field, scratch, text)) return false;
  const auto hasComma = [](const MailBox& mailBox) {
    return mailBox.name.find(u',') != std::u16string::npos;
  };
  // Here every comma cuts, also one inside quotes.
  if (parvane::mime::ParseRewrittenList(text, mailBoxes) &&
      std::none_of(mailBoxes.begin(), mailBoxes.end(), hasComma))
    return true;
  mailBoxes.clear();
  ParseMailBoxList(parvane::platform::Utf8ToUtf16(text), mailBoxes);
  for (MailBox& mailBox : mailBoxes) mailBox.name = Tessary::DecodeEncodedWords(mailBox.name);
  return true;
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
  if (!email || !message) return;
  const std::vector<MailBox>& authors = email->impl().AllMailboxes(ClsEmail::List::kFrom);
  const bool hasFrom =
      !authors.empty() && (HasText(authors.front().name) || HasText(authors.front().address));
  const MailBox none;
  const MailBox& author = hasFrom ? authors.front() : none;
  const OneOffEntry from(hasFrom ? _addressBookP : nullptr, author.name, author.address);
  if (hasFrom) WriteOriginator(*message, kSentRepresentingTags, from);

  std::vector<MailBox> senders;
  if (MailBoxesOf(*email, "Sender", senders) && !senders.empty()) {
    const OneOffEntry sender(_addressBookP, senders.front().name, senders.front().address);
    WriteOriginator(*message, kSenderTags, sender);
  } else if (hasFrom) {
    WriteOriginator(*message, kSenderTags, from);
  }
}

void MIMEToMAPIMessageConverter::WriteReplyTo(TsEmail* email, IMessage* message) {
  std::vector<MailBox> mailBoxes;
  if (!email || !message || !MailBoxesOf(*email, "Reply-To", mailBoxes)) return;
  std::u16string names;
  std::u16string addresses;
  parvane::convert::FlatEntryList entries;
  bool first = true;
  for (const MailBox& mailBox : mailBoxes) {
    const OneOffEntry entry(_addressBookP, mailBox.name, mailBox.address);
    AppendItem(names, entry.displayName(), first);
    AppendItem(addresses, entry.emailAddress(), first);
    entries.Add({entry.entryId(), entry.entryIdSize()});
    first = false;
  }
  SetPropString(message, PR_REPLY_RECIPIENT_NAMES_W, names.c_str());
  SetPropString(message, kReplyRecipientAddressesTag, addresses.c_str());
  const std::vector<BYTE>& list = entries.Bytes();
  SetPropBin(message, PR_REPLY_RECIPIENT_ENTRIES, static_cast<ULONG>(list.size()), list.data());
}

void MIMEToMAPIMessageConverter::WriteDeliveredTo(TsEmail* email, IMessage* message) {
  std::vector<MailBox> mailBoxes;
  if (!email || !message || !MailBoxesOf(*email, "Delivered-To", mailBoxes)) return;
  if (mailBoxes.empty()) return;
  const OneOffEntry entry(_addressBookP, mailBoxes.front().name, mailBoxes.front().address);
  WriteOriginator(*message, kReceivedByTags, entry);
}

}  // namespace QuelmarMIMEEngineCommon
