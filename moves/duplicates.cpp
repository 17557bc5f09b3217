#include "moves/duplicates.h"

namespace parvane::moves {

Judgement Duplicates::Judge(QuelmarMIMEEngineCommon::IAsset& item) {
  auto* facts = dynamic_cast<engine::IMessageFacts*>(&item);
  const auto key = facts ? facts->Key() : std::nullopt;
  if (!key) return {};
  std::uint32_t& place = _places[*key];
  if (place != 0) return {Verdict::kDuplicate, place - 1};
  place = _place + 1;
  return {};
}

}  // namespace parvane::moves
