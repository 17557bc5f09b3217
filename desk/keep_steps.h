// The steps that a conversion takes along for what is to be kept, in their order.
#pragma once

#include "carry/address_step.h"
#include "carry/date_step.h"
#include "carry/header_step.h"
#include "carry/inline_step.h"
#include "carry/key_step.h"
#include "carry/once_step.h"
#include "carry/parts_step.h"
#include "carry/state_step.h"
#include "carry/step_chain.h"
#include "carry/winmail_step.h"
#include "desk/options.h"
#include "desk/source_witness.h"

namespace parvane::desk {

class KeepSteps {
 public:
  // The witness, which must outlive it, is told what came along.
  KeepSteps(const KeepChoice& keep, SourceWitness& witness);
  KeepSteps(const KeepSteps&) = delete;
  KeepSteps& operator=(const KeepSteps&) = delete;

  // Gives them to a destination, which they must outlive.
  void InsertInto(QuelmarMIMEEngineCommon::IAssetStore& destination);

 private:
  carry::KeyStep _keyStep;
  carry::StateStep _stateStep;
  carry::WinmailStep _winmailStep;
  carry::AddressStep _addressStep;
  carry::ItemInHand _itemInHand;
  carry::HeaderStep _headerStep{_itemInHand};
  carry::DateStep _dateStep{_itemInHand};
  carry::OnceStep _onceStep;
  carry::PartsStep _partsStep{_itemInHand, _steps};
  carry::InlineStep _inlineStep{_itemInHand};
  carry::StepChain _steps;
};

}  // namespace parvane::desk
