#include "moves/item_choice.h"

namespace parvane::moves {

using platform::FileTimeTicks;
using QuelmarMIMEEngineCommon::IAsset;

Judgement ItemChoice::Judge(IAsset& item) {
  if (_wanted.Everything()) return {};
  if (_wanted.skipJunk && IsJunk(item)) return {Verdict::kNotChosen};
  if (!_wanted.since && !_wanted.before) return {};
  const engine::IMessageFacts* facts = _factsOf(item);
  const std::uint64_t delivered = facts ? FileTimeTicks(facts->Delivered()) : 0;
  if (delivered == 0) {
    ++_undated;
    return {};
  }
  const bool early = _wanted.since && delivered < FileTimeTicks(*_wanted.since);
  const bool late = _wanted.before && delivered >= FileTimeTicks(*_wanted.before);
  return {early || late ? Verdict::kNotChosen : Verdict::kTake};
}

bool ItemChoice::IsJunk(IAsset& item) {
  const engine::IStatefulAsset* stateful = _stateOf(item);
  const engine::MessageState* state = stateful ? stateful->State() : nullptr;
  return state && state->junk.Is(true);
}

}  // namespace parvane::moves
