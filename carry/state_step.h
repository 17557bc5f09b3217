// The step between conversion and saving that puts a message's state (engine/message_state.h) onto
// the message, where its item offers one.
#pragma once

#include <bitset>
#include <cstddef>
#include <string>
#include <vector>

#include "carry/state_properties.h"
#include "engine/item_step.h"
#include "engine/message_state.h"
#include "engine/sibling_cast.h"
#include "mapi/refusals.h"

namespace parvane::carry {

enum class StateKind : std::size_t {
  kRead,
  kReplied,
  kForwarded,
  kFlagged,
  kDraft,
  kJunk,
  kDeleted,
  kCategories,
  kImportance,  // other than normal
};
inline constexpr std::size_t kStateKinds = static_cast<std::size_t>(StateKind::kImportance) + 1;

// What became of one message's state.
struct CarriedState {
  std::bitset<kStateKinds> kept;
  // Answered and forwarded: Outlook shows one of them, which is "answered".
  bool forwardedLost = false;
  std::vector<std::string> namelessKeywords;  // categories named by their keys
  std::size_t moreCategories = 0;             // that were left out
  bool partial = false;                       // the mail was fetched in part only
  std::vector<mapi::Refusal> refusals;        // of the destination's MAPI
};

// Where the destination's MAPI takes all of it.
CarriedState WhatIsCarriedOf(const engine::MessageState& state);

class CarryObserver {
 public:
  // For the message in hand, before it is saved.
  virtual void StateCarried(CarriedState carried) = 0;

 protected:
  ~CarryObserver() = default;
};

class StateStep : public engine::ItemStep {
 public:
  explicit StateStep(CarryObserver& observer) : _observer(observer) {}
  void BeforeSave(QuelmarMIMEEngineCommon::IAsset& item, mapi::IMessage& message) override;

 private:
  CarryObserver& _observer;
  engine::SiblingCast<engine::IStatefulAsset, QuelmarMIMEEngineCommon::IAsset> _stateOf;
  StateNames _names;
};

}  // namespace parvane::carry
