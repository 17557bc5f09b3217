#include "carry/state_step.h"

#include <utility>

#include "engine/assets.h"

namespace parvane::carry {

using engine::Importance;
using engine::MessageState;

void StateStep::BeforeSave(QuelmarMIMEEngineCommon::IAsset& item, mapi::IMessage& message) {
  const engine::IStatefulAsset* stateful = _stateOf(item);
  const MessageState* state = stateful ? stateful->State() : nullptr;
  if (!state) return;
  CarriedState carried;
  const auto keep = [&carried](StateKind kind, bool kept) {
    carried.kept[static_cast<std::size_t>(kind)] = kept;
  };
  mapi::RefusalLog refusals;
  WriteFlagsAndIcon(message, *state);
  keep(StateKind::kRead, state->read.Is(true));
  keep(StateKind::kDraft, state->draft.Is(true));
  keep(StateKind::kReplied, state->replied.Is(true));
  carried.forwardedLost = state->replied.Is(true) && state->forwarded.Is(true);
  keep(StateKind::kForwarded, state->forwarded.Is(true) && !carried.forwardedLost);
  if (state->importance.value) WriteImportance(message, *state->importance.value);
  keep(StateKind::kImportance,
       state->importance.value && !state->importance.Is(Importance::kNormal));
  if (state->flagged.Is(true)) WriteFollowUp(message, _names);
  keep(StateKind::kFlagged, state->flagged.Is(true));
  if (WriteCategories(message, *state, _names)) {
    keep(StateKind::kCategories, state->categories.value && !state->categories.value->empty());
    keep(StateKind::kJunk, state->junk.Is(true));
    keep(StateKind::kDeleted, state->deleted.Is(true));
  }
  carried.namelessKeywords = state->namelessKeywords;
  carried.moreCategories = state->moreCategories;
  carried.partial = state->partial;
  carried.refusals = refusals.Take();
  _observer.StateCarried(std::move(carried));
}

}  // namespace parvane::carry
