// Names and addresses on their way into one-off recipients.
#pragma once

#include <string>
#include <vector>

#include "mapi/session.h"
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

// A pair as EnsureNonNullOneOff leaves it, without copying what needs no change. Looks into the
// strings it was made of, which must outlive it. What nobody's name or address can be is cut: every
// recipient takes many times its length.
class NormalOneOff {
 public:
  static constexpr std::size_t kMostCharacters = 64 * 1024;

  NormalOneOff(const std::u16string& name, const std::u16string& address);
  NormalOneOff(const NormalOneOff&) = delete;
  NormalOneOff& operator=(const NormalOneOff&) = delete;

  const std::u16string& name() const { return *_name; }
  const std::u16string& address() const { return *_address; }

 private:
  const std::u16string* _name;
  const std::u16string* _address;
  std::u16string _ownName;
  std::u16string _ownAddress;
};

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

// One correspondent with the entry identifier that an address book makes for it.
class OneOffEntry {
 public:
  // The name and address are normalised and looked at, not copied. Without an address book there
  // is no entry identifier.
  OneOffEntry(parvane::mapi::IAddrBook* addressBook, const std::u16string& name,
              const std::u16string& address);
  // Frees the entry identifier.
  ~OneOffEntry();
  OneOffEntry(const OneOffEntry&) = delete;
  OneOffEntry& operator=(const OneOffEntry&) = delete;

  const parvane::mapi::BYTE* entryId() const { return _entryId; }
  parvane::mapi::ULONG entryIdSize() const { return _entryIdSize; }
  const std::u16string& displayName() const { return _text.name(); }
  const std::u16string& emailAddress() const { return _text.address(); }
  static const char16_t* addressType() { return u"SMTP"; }

 private:
  OrvMAPIUtilities::NormalOneOff _text;
  parvane::mapi::BYTE* _entryId = nullptr;  // MAPI memory
  parvane::mapi::ULONG _entryIdSize = 0;
};

}  // namespace QuelmarMIMEEngineCommon
