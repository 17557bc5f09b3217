// Keeps the account while the engine copies: beside what the sources report, what the conversion
// and the engine's log do, and, after each item, what the PST's account says has happened to it.
//
// "Written" is never believed before it is committed: items wait in a queue from their save to the
// commit that covers them, and those left there when the PST has been closed are failures.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "desk/pst_account.h"
#include "desk/source_witness.h"
#include "engine/destination_observer.h"

namespace parvane::desk {

class Witness : public SourceWitness, public engine::DestinationObserver {
 public:
  using SourceWitness::SourceWitness;

  // Before the destination is opened; `pst` must outlive the store.
  void Watch(PstAccount& pst);
  // It has been opened: from here on Cancel() means "an item is done".
  void BeginCopying();
  // The copy of the folder ended; `problem` is why it broke off, if it did.
  void EndFolder(const std::string& problem) override;
  // The PST has been closed: settles what is committed and what is not. False, with the record's
  // error set, when the counts of the PST and of this account do not agree.
  bool Settle();
  // The PST takes nothing more: disk full, I/O error, size limit; unless there will be another one.
  bool DestinationFailed() const { return _reading && _pst && _pst->Failed() && !PartIsFull(); }
  // Why the PST takes nothing more, or did not open; `otherwise` when that is not known.
  std::string Reason(std::string otherwise) const override;
  // What the engine has had to say for people since, while no item was in hand; one line, empty:
  // nothing.
  std::string EngineMessage() const;

  // ICancelable
  bool Cancel() override;
  // ILogger
  void WriteLog(std::u16string_view logString, bool briefLog, bool detailLog) override;
  // SourceObserver
  void MessageRead(const engine::MessageLocation& message) override;

  // DestinationObserver
  void MapiAnswered(engine::DestinationStep step, std::int32_t result) override;
  void StoreOpened(mapi::IMsgStore& store) override;
  void FolderRefused(const QuelmarMIMEEngineCommon::IAssetFolder& folder,
                     const std::vector<mapi::Refusal>& refusals) override;
  void FolderContinued(const QuelmarMIMEEngineCommon::IAssetFolder& full,
                       const QuelmarMIMEEngineCommon::IAssetFolder& next) override;

 private:
  bool PartIsFull() const { return _record.split && _pst->Full(); }
  struct Item : MessagePlace {
    bool failed = false;
    unsigned year = moves::kNoYear;
    Carried carried;
  };

  void FinishItem();
  // Takes from the queue what the PST has committed since.
  void CountCommitted();

  PstAccount* _pst = nullptr;
  std::u16string _engineMessage;

  // Of the item in hand.
  std::u16string _itemDetails;  // as the engine logs them; kept for a failure only

  std::uint64_t _failures = 0;   // of the PST, when the item in hand was read
  std::uint64_t _saved = 0;      // as the PST had after the last item
  std::uint64_t _committed = 0;  // of these, settled
  std::deque<Item> _uncommitted;
};

}  // namespace parvane::desk
