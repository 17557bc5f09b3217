// Names and addresses on their way into one-off recipients.
#pragma once

#include <string>
#include <vector>

#include "mapi/types.h"

namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities {

// Normalises a pair in place, so that neither part is ever written empty:
//
//   name    address   becomes
//   ""      a         a, a
//   n       ""        n, "-@-" (or, with extractFromName, the first address found in the name)
//   ""      ""        "-", "-@-"
//
// Both are trimmed first.
void EnsureNonNullOneOff(std::u16string& name, std::u16string& address, bool extractFromName);

// Appends every e-mail address in the text, in order of position: what a forward search finds for
//
//   address := atom ("." atom)* "@" (label ".")+ label
//   atom    := one or more of A-Z a-z 0-9 ! # $ % & ' * + / = ? ^ _ ` { | } ~ -
//   label   := letter or digit, then letters, digits and "-", not ending in "-"
//
// Linear in the text.
void ExtractEmails(const std::u16string& text, std::vector<std::u16string>& found);

}  // namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities

namespace QuelmarMIMEEngineCommon {

// One correspondent with the entry identifier that the address book made for it.
struct OneOffEntry {
  OneOffEntry() = default;
  // Frees the entry identifier.
  ~OneOffEntry();
  OneOffEntry(const OneOffEntry&) = delete;
  OneOffEntry& operator=(const OneOffEntry&) = delete;

  parvane::mapi::BYTE* entryId = nullptr;  // MAPI memory
  parvane::mapi::ULONG entryIdSize = 0;
  std::u16string displayName;
  std::u16string emailAddress;
  std::u16string addressType;  // "SMTP"
};

}  // namespace QuelmarMIMEEngineCommon
