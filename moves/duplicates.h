// Copies of messages: the first of each is taken.
#pragma once

#include <cstdint>

#include "moves/item_filter.h"
#include "moves/key_table.h"

namespace parvane::moves {

class Duplicates : public ItemFilter {
 public:
  // Where the items come next go: a number of the caller's, below 4 billion, by which a later copy
  // names the place of the first.
  void SetPlace(std::size_t place) { _place = static_cast<std::uint32_t>(place); }
  // Forgets all: what comes next has no copies before it.
  void Forget() { _places = {}; }

  Judgement Judge(QuelmarMIMEEngineCommon::IAsset& item) override;

 private:
  std::uint32_t _place = 0;
  KeyTable _places;  // 1 more than the place
};

}  // namespace parvane::moves
