// To, Cc and Bcc.

#include "convert/mime_to_mapi_message_converter.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/constants.h"
#include "mapi/tags.h"
#include "mime/ts_email.h"
#include "mime/ts_string.h"

namespace QuelmarMIMEEngineCommon {

using namespace OrvMAPIUtilities;
using namespace parvane::mapi;
using Tessary::TsEmail;
using Tessary::TsString;

void MIMEToMAPIMessageConverter::WriteRecipients(TsEmail* email, IMessage* message) {
  if (!email || !message) return;
  using Getter = bool (TsEmail::*)(int, TsString&);
  const auto writeList = [&](int count, Getter getName, Getter getAddress, ULONG type) {
    for (int i = 0; i < count; ++i) {
      TsString name;
      TsString address;
      (email->*getName)(i, name);
      (email->*getAddress)(i, address);
      AddRecipient(&name, &address, message, static_cast<int>(type));
    }
  };
  writeList(email->get_NumTo(), &TsEmail::GetToName, &TsEmail::GetToAddr, MAPI_TO);
  writeList(email->get_NumCC(), &TsEmail::GetCcName, &TsEmail::GetCcAddr, MAPI_CC);
  writeList(email->get_NumBcc(), &TsEmail::GetBccName, &TsEmail::GetBccAddr, MAPI_BCC);
}

void MIMEToMAPIMessageConverter::AddRecipient(TsString* name, TsString* address, IMessage* message,
                                              int recipientType) {
  if (!message) return;
  OneOffEntry entry;
  if (name) entry.displayName = name->viewUnicode();
  if (address) entry.emailAddress = address->viewUnicode();
  FillOneOff(entry);

  PropertyList properties;
  properties.reserve(5);
  AddProperty_BIN(properties, PR_ENTRYID, entry.entryIdSize, entry.entryId);
  if (!entry.displayName.empty())
    AddProperty_STRW(properties, PR_DISPLAY_NAME_W, entry.displayName.c_str());
  AddProperty_STRW(properties, PR_EMAIL_ADDRESS_W, entry.emailAddress.c_str());
  AddProperty_STRW(properties, PR_ADDRTYPE_W, entry.addressType.c_str());
  AddProperty_LONG(properties, PR_RECIPIENT_TYPE, recipientType);

  ADRLIST list{};
  list.cEntries = 1;
  list.aEntries[0].cValues = static_cast<ULONG>(properties.size());
  list.aEntries[0].rgPropVals = properties.data();
  message->ModifyRecipients(MODRECIP_ADD, &list);
}

void MIMEToMAPIMessageConverter::FillOneOff(OneOffEntry& entry) {
  EnsureNonNullOneOff(entry.displayName, entry.emailAddress, false);
  entry.addressType = u"SMTP";
  if (!_addressBookP) return;
  ENTRYID* entryId = nullptr;
  _addressBookP->CreateOneOff(
      ToTString(entry.displayName.c_str()), ToTString(entry.addressType.c_str()),
      ToTString(entry.emailAddress.c_str()), MAPI_UNICODE, &entry.entryIdSize, &entryId);
  entry.entryId = reinterpret_cast<BYTE*>(entryId);
  if (!entryId) entry.entryIdSize = 0;
}

}  // namespace QuelmarMIMEEngineCommon
