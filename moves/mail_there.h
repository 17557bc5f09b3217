// The messages that a folder of the destination has already: known by their keys, and counted, so
// that of three copies in the source one is copied where two are there.
#pragma once

#include "mapi/folder.h"
#include "moves/item_filter.h"
#include "moves/key_table.h"
#include "platform/status.h"

namespace parvane::moves {

class MailThere : public ItemFilter {
 public:
  // Adds the messages of one more folder. Fails when not all of them can be read: what is not known
  // to be there would be copied again.
  platform::Status Add(mapi::IMAPIFolder& folder);

  Judgement Judge(QuelmarMIMEEngineCommon::IAsset& item) override;

  // Messages that no item has been found to be.
  std::uint64_t left() const { return _left; }

 private:
  KeyTable _counts;
  std::uint64_t _left = 0;
};

}  // namespace parvane::moves
