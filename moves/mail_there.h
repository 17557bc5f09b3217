// The messages that a folder of the destination has already: known by their keys, and counted, so
// that of three copies in the source one is copied where two are there.
//
// A MAPI of another make may not take keys that are set. There, what has no key that an item has is
// known by its Message-ID and moment of delivery as well.
#pragma once

#include "mapi/folder.h"
#include "mapi/structures.h"
#include "moves/item_filter.h"
#include "moves/key_table.h"
#include "platform/status.h"

namespace parvane::moves {

enum class KnownBy { kKey, kKeyOrMessageId };

class MailThere : public ItemFilter {
 public:
  explicit MailThere(KnownBy knownBy = KnownBy::kKey) : _knownBy(knownBy) {}

  // Adds the messages of one more folder. Fails when not all of them can be read: what is not known
  // to be there would be copied again.
  platform::Status Add(mapi::IMAPIFolder& folder);

  Judgement Judge(QuelmarMIMEEngineCommon::IAsset& item) override;

  // Messages that no item has been found to be.
  std::uint64_t left() const { return _left; }

 private:
  void AddRow(const mapi::SRow& row);
  // False when none is left.
  bool TakeOne(KeyTable& counts, const engine::MessageKey& key);

  KnownBy _knownBy;
  KeyTable _counts;
  KeyTable _countsOfIds;
  std::uint64_t _left = 0;
};

}  // namespace parvane::moves
