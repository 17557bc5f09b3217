// To, Cc and Bcc.

#include <algorithm>
#include <array>
#include <functional>
#include <string>
#include <string_view>

#include "convert/mime_to_mapi_message_converter.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/constants.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "mime/email_message.h"
#include "mime/facade/library_access.h"
#include "mime/facade/ts_email.h"
#include "mime/facade/ts_string.h"

namespace QuelmarMIMEEngineCommon {

using namespace OrvMAPIUtilities;
using namespace parvane::mapi;
using Tessary::AddressField;
using Tessary::EmailMessage;
using Tessary::TsEmail;
using Tessary::TsString;

void MIMEToMAPIMessageConverter::WriteRecipients(TsEmail* email, IMessage* message) {
  EmailMessage* parsed = email ? MessageOf(*email) : nullptr;
  if (!parsed || !message) return;
  const auto writeList = [&](AddressField list, ULONG type) {
    const auto add = [&](const MailBox& mailBox) {
      AddRecipient(mailBox.name, mailBox.address, *message, type);
      return true;
    };
    if (const auto* read = _stepP->Correspondents({*parsed, _depth}, list)) {
      std::ranges::for_each(*read, add);
    } else {
      parsed->ForEachMailbox(list, std::ref(add));  // by reference, which takes no memory
    }
  };
  writeList(AddressField::kTo, MAPI_TO);
  writeList(AddressField::kCc, MAPI_CC);
  writeList(AddressField::kBcc, MAPI_BCC);
}

void MIMEToMAPIMessageConverter::AddRecipient(TsString* name, TsString* address, IMessage* message,
                                              int recipientType) {
  if (!message) return;
  AddRecipient(std::u16string(name ? name->viewUnicode() : std::u16string_view()),
               std::u16string(address ? address->viewUnicode() : std::u16string_view()), *message,
               static_cast<ULONG>(recipientType));
}

void MIMEToMAPIMessageConverter::AddRecipient(const std::u16string& name,
                                              const std::u16string& address, IMessage& message,
                                              ULONG recipientType) {
  const OneOffEntry entry(_addressBookP, name, address);
  // Normalised, so that there is always a name.
  std::array<SPropValue, 5> properties = {
      BinaryOf(PR_ENTRYID, entry.entryIdSize(), entry.entryId()),
      TextOf(PR_DISPLAY_NAME_W, entry.displayName().c_str()),
      TextOf(PR_EMAIL_ADDRESS_W, entry.emailAddress().c_str()),
      TextOf(PR_ADDRTYPE_W, entry.addressType()), NumberOf(PR_RECIPIENT_TYPE, recipientType)};

  ADRLIST list{};
  list.cEntries = 1;
  list.aEntries[0].cValues = properties.size();
  list.aEntries[0].rgPropVals = properties.data();
  const HRESULT result = message.ModifyRecipients(MODRECIP_ADD, &list);
  if (Failed(result)) NoteRefusal(result, PR_MESSAGE_RECIPIENTS);
}

}  // namespace QuelmarMIMEEngineCommon
