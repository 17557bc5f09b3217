// Holds mail back from a PST that is to grow no further, and from a folder that is not there yet:
// so that a part is ended before it is too large, and gets only the folders that hold mail of it.
//
//   an item is taken when the folder is there and it surely fits, or when the part has no other
//   item: whether it is too large for any part, only the PST itself can tell
//
// Two things stop a folder's query, with the item held back by SelectedFolder: the part is full
// (IsFull), and the next one has to be begun; or the folder is wanted now. Whoever then goes on
// says so by BeginPart and BeginFolder, in this order; the item held back is the first that is
// copied.
#pragma once

#include <cstdint>
#include <functional>

#include "moves/item_filter.h"

namespace parvane::moves {

class PartFilter : public ItemFilter {
 public:
  // `room`: how many bytes the PST surely takes yet, by its own count.
  explicit PartFilter(std::function<std::uint64_t()> room) : _room(std::move(room)) {}

  // A new PST is being written; `empty`: without mail.
  void BeginPart(bool empty);
  // The items that come next go to a folder that is there, or, with those above it, will be made.
  void BeginFolder(bool isThere);
  // What was held back last does not fit any more.
  bool IsFull() const { return _full; }

  Judgement Judge(QuelmarMIMEEngineCommon::IAsset& item) override;

 private:
  std::function<std::uint64_t()> _room;
  bool _empty = true;
  bool _full = false;
  bool _folderIsThere = false;
  bool _holds = false;
};

}  // namespace parvane::moves
