#include "carry/state_step.h"

#include <utility>

#include "engine/assets.h"

namespace parvane::carry {

using engine::Importance;
using engine::MessageState;

CarriedState WhatIsCarriedOf(const MessageState& state) {
  CarriedState carried;
  const auto keep = [&carried](StateKind kind, bool kept) {
    carried.kept[static_cast<std::size_t>(kind)] = kept;
  };
  keep(StateKind::kRead, state.read.Is(true));
  keep(StateKind::kDraft, state.draft.Is(true));
  keep(StateKind::kReplied, state.replied.Is(true));
  carried.forwardedLost = state.replied.Is(true) && state.forwarded.Is(true);
  keep(StateKind::kForwarded, state.forwarded.Is(true) && !carried.forwardedLost);
  keep(StateKind::kImportance, state.importance.value && !state.importance.Is(Importance::kNormal));
  keep(StateKind::kFlagged, state.flagged.Is(true));
  keep(StateKind::kCategories, state.categories.value && !state.categories.value->empty());
  keep(StateKind::kJunk, state.junk.Is(true));
  keep(StateKind::kDeleted, state.deleted.Is(true));
  carried.namelessKeywords = state.namelessKeywords;
  carried.moreCategories = state.moreCategories;
  carried.partial = state.partial;
  return carried;
}

void StateStep::BeforeSave(QuelmarMIMEEngineCommon::IAsset& item, mapi::IMessage& message) {
  const engine::IStatefulAsset* stateful = _stateOf(item);
  const MessageState* state = stateful ? stateful->State() : nullptr;
  if (!state) return;
  CarriedState carried = WhatIsCarriedOf(*state);
  mapi::RefusalLog refusals;
  WriteFlagsAndIcon(message, *state);
  if (state->importance.value) WriteImportance(message, *state->importance.value);
  if (state->flagged.Is(true)) WriteFollowUp(message, _names);
  if (!WriteCategories(message, *state, _names)) {
    for (const StateKind kind : {StateKind::kCategories, StateKind::kJunk, StateKind::kDeleted})
      carried.kept.reset(static_cast<std::size_t>(kind));
  }
  carried.refusals = refusals.Take();
  _observer.StateCarried(std::move(carried));
}

}  // namespace parvane::carry
