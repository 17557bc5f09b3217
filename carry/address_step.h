// Gives a conversion the correspondents of a mail as its header names them, where repair has lost
// or garbled some: repair cuts a list at every comma and keeps one name and one address of each
// piece.
//
//   header                            repaired                 here
//   boss@x (The Boss)                 boss@x                   The Boss <boss@x>
//   "A" <a@x>; "B" <b@x>              A <a@x>                  A <a@x>, B <b@x>
//   Team: a@x, "Doe, J" <b@x>;        a@x, Team: Doe, ...      a@x, Doe, J <b@x>
//   Doe, Jane <a@x>                   Doe, Jane <a@x>: two     "Doe, Jane" <a@x>: one
#pragma once

#include <bitset>
#include <optional>
#include <string_view>
#include <vector>

#include "carry/step_chain.h"
#include "mime/header_facts.h"
#include "mime/mailbox.h"
#include "mime/mime_header.h"

namespace parvane::carry {

using convert::MailBox;

// The mailboxes of a header field's whole value. What Tessary::ParseAddressList finds, but that
// words that begin like a name and are cut off by a comma go to the name behind it.
std::vector<MailBox> ReadCorrespondents(std::u16string_view list);

// Of Tessary::kAddressFields.
using AddressFields = std::bitset<Tessary::kAddressFields.size()>;

class AddressObserver {
 public:
  // The correspondents of the mail in hand, or of one inside it, are those that these fields named
  // before repair. When it has been converted; no call where nothing had to be done.
  virtual void AddressesCarried(const AddressFields& fields) = 0;

 protected:
  ~AddressObserver() = default;
};

class AddressStep : public MailStep {
 public:
  explicit AddressStep(AddressObserver& observer) : _observer(observer) {}
  void Begin(const convert::IMailAsset& mail) override;
  const std::vector<MailBox>* Correspondents(const convert::MailInHand& mail,
                                             Tessary::AddressField field) override;
  void MailWritten(const convert::MailInHand& mail, mapi::IMessage& message) override;

 private:
  AddressObserver& _observer;
  const convert::IMailAsset* _mail = nullptr;
  std::vector<MailBox> _read;
  AddressFields _carried;
};

}  // namespace parvane::carry
