// The messages that somebody wants, by when they came and by what they are marked with.
#pragma once

#include <cstdint>
#include <optional>

#include "engine/message_facts.h"
#include "engine/message_state.h"
#include "engine/sibling_cast.h"
#include "moves/item_filter.h"
#include "platform/time.h"

namespace parvane::moves {

// By the moment of delivery. What has none is taken: nobody knows that it is not wanted.
struct Wanted {
  std::optional<platform::FileTime> since;
  std::optional<platform::FileTime> before;
  bool skipJunk = false;  // what is marked as such, where the source was asked for marks

  bool Everything() const { return !since && !before && !skipJunk; }
};

class ItemChoice : public ItemFilter {
 public:
  explicit ItemChoice(const Wanted& wanted) : _wanted(wanted) {}

  Judgement Judge(QuelmarMIMEEngineCommon::IAsset& item) override;
  // Messages that were taken because nothing tells when they came.
  std::uint64_t undated() const { return _undated; }

 private:
  bool IsJunk(QuelmarMIMEEngineCommon::IAsset& item);

  const Wanted _wanted;
  std::uint64_t _undated = 0;
  engine::SiblingCast<engine::IMessageFacts, QuelmarMIMEEngineCommon::IAsset> _factsOf;
  engine::SiblingCast<engine::IStatefulAsset, QuelmarMIMEEngineCommon::IAsset> _stateOf;
};

}  // namespace parvane::moves
