// What is asked, item by item, whether it is to be copied.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/assets.h"

namespace parvane::moves {

enum class Verdict {
  kTake,
  kStop,          // not yet: it is the first of the next query, without being judged again
  kOtherPart,     // it is passed over, and counts for nothing: another pass takes it
  kNotChosen,     // here and below: it is passed over
  kAlreadyThere,  // the destination has it
  kDuplicate,     // a copy of it has been taken
};
// The reasons for which items are passed over, as indexes.
inline constexpr std::size_t kPassedOverReasons = 3;
constexpr std::size_t ReasonIndex(Verdict verdict) {
  return static_cast<std::size_t>(verdict) - static_cast<std::size_t>(Verdict::kNotChosen);
}

struct Judgement {
  Verdict verdict = Verdict::kTake;
  std::size_t copyIn = 0;  // of a duplicate: the place (see its filter) where the copy went
};

class ItemFilter {
 public:
  virtual ~ItemFilter() = default;
  virtual Judgement Judge(QuelmarMIMEEngineCommon::IAsset& item) = 0;
};

// Several, asked in turn until one does not take the item.
class FilterChain : public ItemFilter {
 public:
  // Must outlive the chain.
  void Add(ItemFilter& filter) { _filters.push_back(&filter); }
  bool empty() const { return _filters.empty(); }
  Judgement Judge(QuelmarMIMEEngineCommon::IAsset& item) override {
    for (ItemFilter* filter : _filters) {
      if (const Judgement judgement = filter->Judge(item); judgement.verdict != Verdict::kTake)
        return judgement;
    }
    return {};
  }

 private:
  std::vector<ItemFilter*> _filters;
};

}  // namespace parvane::moves
