// Opens winmail.dat while a mail is converted: what it holds comes onto the message in its place.
#pragma once

#include <cstdint>

#include "carry/step_chain.h"
#include "carry/tnef_properties.h"
#include "mapi/message.h"

namespace parvane::carry {

// What became of the winmail.dat of one mail and of those attached to it.
struct CarriedWinmail {
  std::uint32_t opened = 0;
  std::uint32_t attachments = 0;  // that came out of them
  // Opened, and kept beside what came out, because not all of it could be read or written.
  std::uint32_t partly = 0;
  std::uint32_t unreadable = 0;  // left as they are
};

class WinmailObserver {
 public:
  // For the mail in hand, when it has been converted; no call for one without a winmail.dat.
  virtual void WinmailCarried(const CarriedWinmail& carried) = 0;

 protected:
  ~WinmailObserver() = default;
};

class WinmailStep : public MailStep {
 public:
  explicit WinmailStep(WinmailObserver& observer) : _observer(observer) {}
  bool TakePart(const convert::MailInHand& mail, convert::PartKind kind,
                const Tessary::Email2& part, mapi::IMessage& message) override;
  bool TakeLeftover(const convert::MailInHand& mail, const Tessary::LeftoverPart& part,
                    mapi::IMessage& message) override;
  void MailWritten(const convert::MailInHand& mail, mapi::IMessage& message) override;

 private:
  bool Open(const Tessary::Email2& part, mapi::IMessage& message);

  WinmailObserver& _observer;
  CarriedWinmail _carried;
  NamedIds _names;
};

}  // namespace parvane::carry
