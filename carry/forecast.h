// What the steps will carry onto the message of an item, told to their observers without a
// conversion: for whoever only looks. What takes the parts of the mail in hand (pictures, a
// winmail.dat, what no property takes), and whose names repair would lose, only a conversion tells.
#pragma once

#include <cstdint>

#include "carry/item_in_hand.h"
#include "carry/state_step.h"
#include "engine/message_state.h"
#include "engine/sibling_cast.h"

namespace parvane::carry {

// Which of the steps a conversion would take along.
struct ForecastChoice {
  bool state = true;
  bool headers = true;
  bool dates = true;
};

// What a mail consists of as it stands, by what becomes of it.
struct MailMakeup {
  std::uint64_t header = 0;   // bytes, here and below
  std::uint64_t text = 0;     // what is kept as text, in two bytes a character
  std::uint64_t html = 0;     // what is kept as it is
  std::uint64_t encoded = 0;  // data in base64
  std::uint64_t recipients = 0;
};

class Forecast {
 public:
  Forecast(ForecastChoice choice, CarryObserver& states, MailObserver& mails)
      : _choice(choice), _states(states), _mails(mails) {}

  // In the order of a conversion: the former before the item's notes, the latter after them.
  void OfMail(QuelmarMIMEEngineCommon::IAsset& item);
  void OfState(QuelmarMIMEEngineCommon::IAsset& item);
  MailMakeup MakeupOf(QuelmarMIMEEngineCommon::IAsset& item);

 private:
  const ForecastChoice _choice;
  CarryObserver& _states;
  MailObserver& _mails;
  engine::SiblingCast<convert::IMailAsset, QuelmarMIMEEngineCommon::IAsset> _mailOf;
  engine::SiblingCast<engine::IStatefulAsset, QuelmarMIMEEngineCommon::IAsset> _stateOf;
};

}  // namespace parvane::carry
