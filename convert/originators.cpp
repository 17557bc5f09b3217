// From, Sender, Reply-To and Delivered-To.

#include <vector>

#include "convert/flat_entry_list.h"
#include "convert/mime_to_mapi_message_converter.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/tags.h"
#include "mime/encoded_words.h"
#include "mime/mailbox.h"
#include "mime/ts_email.h"
#include "mime/ts_string.h"

namespace QuelmarMIMEEngineCommon {

using namespace OrvMAPIUtilities;
using namespace parvane::mapi;
using Tessary::TsEmail;
using Tessary::TsString;

namespace {

// Published as PidTagReplyRecipientSMTPProxies.
constexpr ULONG kReplyRecipientAddressesTag = PropTag(PT_UNICODE, 0x3FFC);

// The mailboxes of a header field, names decoded. Encoded words are decoded only now, so that a
// comma or bracket inside one separates nothing.
std::vector<MailBox> MailBoxesOf(const TsString& field) {
  std::vector<MailBox> mailBoxes;
  ParseMailBoxList(field.viewUnicode(), mailBoxes);
  for (MailBox& mailBox : mailBoxes) mailBox.name = Tessary::DecodeEncodedWords(mailBox.name);
  return mailBoxes;
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
  PropertyList properties;
  properties.reserve(4);
  AddProperty_BIN(properties, tags.entryId, entry.entryIdSize, entry.entryId);
  AddProperty_STRW(properties, tags.name, entry.displayName.c_str());
  AddProperty_STRW(properties, tags.addressType, entry.addressType.c_str());
  AddProperty_STRW(properties, tags.address, entry.emailAddress.c_str());
  message.SetProps(static_cast<ULONG>(properties.size()), properties.data(), nullptr);
}

void AppendItem(std::u16string& list, const std::u16string& item, bool first) {
  if (!first) list += u';';
  list += item;
}

}  // namespace

void MIMEToMAPIMessageConverter::WriteSender(TsEmail* email, IMessage* message) {
  if (!email || !message) return;
  TsString name;
  TsString address;
  email->get_FromName(name);
  email->get_FromAddress(address);
  name.trim();
  address.trim();
  OneOffEntry from;
  const bool hasFrom = !name.isEmpty() || !address.isEmpty();
  if (hasFrom) {
    from.displayName = name.viewUnicode();
    from.emailAddress = address.viewUnicode();
    FillOneOff(from);
    WriteOriginator(*message, kSentRepresentingTags, from);
  }

  TsString field;
  OneOffEntry sender;
  bool hasSender = false;
  if (email->GetHeaderField("Sender", field)) {
    std::vector<MailBox> mailBoxes = MailBoxesOf(field);
    hasSender = !mailBoxes.empty();
    if (hasSender) {
      sender.displayName = std::move(mailBoxes.front().name);
      sender.emailAddress = std::move(mailBoxes.front().address);
      FillOneOff(sender);
    }
  }
  if (hasSender || hasFrom) WriteOriginator(*message, kSenderTags, hasSender ? sender : from);
}

void MIMEToMAPIMessageConverter::WriteReplyTo(TsEmail* email, IMessage* message) {
  TsString field;
  if (!email || !message || !email->GetHeaderField("Reply-To", field)) return;
  std::u16string names;
  std::u16string addresses;
  parvane::convert::FlatEntryList entries;
  bool first = true;
  for (MailBox& mailBox : MailBoxesOf(field)) {
    OneOffEntry entry;
    entry.displayName = std::move(mailBox.name);
    entry.emailAddress = std::move(mailBox.address);
    FillOneOff(entry);
    AppendItem(names, entry.displayName, first);
    AppendItem(addresses, entry.emailAddress, first);
    entries.Add({entry.entryId, entry.entryIdSize});
    first = false;
  }
  SetPropString(message, PR_REPLY_RECIPIENT_NAMES_W, names.c_str());
  SetPropString(message, kReplyRecipientAddressesTag, addresses.c_str());
  const std::vector<BYTE> list = entries.Bytes();
  SetPropBin(message, PR_REPLY_RECIPIENT_ENTRIES, static_cast<ULONG>(list.size()), list.data());
}

void MIMEToMAPIMessageConverter::WriteDeliveredTo(TsEmail* email, IMessage* message) {
  TsString field;
  if (!email || !message || !email->GetHeaderField("Delivered-To", field)) return;
  std::vector<MailBox> mailBoxes = MailBoxesOf(field);
  if (mailBoxes.empty()) return;
  OneOffEntry entry;
  entry.displayName = std::move(mailBoxes.front().name);
  entry.emailAddress = std::move(mailBoxes.front().address);
  FillOneOff(entry);
  WriteOriginator(*message, kReceivedByTags, entry);
}

}  // namespace QuelmarMIMEEngineCommon
