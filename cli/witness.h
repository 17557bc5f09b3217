// Keeps the account while the engine copies: what the sources and the conversion report, what the
// engine logs, and, after each item, what the PST's account says has happened to it.
//
// "Written" is never believed before it is committed: items wait in a queue from their save to the
// commit that covers them, and those left there when the PST has been closed are failures.
#pragma once

#include <bitset>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "carry/address_step.h"
#include "carry/item_in_hand.h"
#include "carry/state_step.h"
#include "carry/winmail_step.h"
#include "cli/conversion_record.h"
#include "cli/logs.h"
#include "cli/pst_account.h"
#include "engine/callbacks.h"
#include "engine/destination_observer.h"
#include "engine/source_observer.h"
#include "platform/process.h"

namespace parvane::cli {

class Witness : public engine::SourceObserver,
                public engine::DestinationObserver,
                public carry::CarryObserver,
                public carry::MailObserver,
                public carry::WinmailObserver,
                public carry::AddressObserver,
                public QuelmarMIMEEngineCommon::ILogger,
                public QuelmarMIMEEngineCommon::ICancelable {
 public:
  Witness(ConversionRecord& record, Logs& logs, const platform::InterruptWatch& interrupt)
      : _record(record), _logs(logs), _interrupt(interrupt) {}

  // Before the destination is opened; `pst` must outlive the store.
  void Watch(PstAccount& pst);
  // It has been opened: from here on Cancel() means "an item is done".
  void BeginCopying();
  // The folder of the record whose items come next.
  void BeginFolder(std::size_t index) { _folder = index; }
  // The copy of the folder ended; `problem` is why it broke off, if it did.
  void EndFolder(const std::string& problem);
  // The PST has been closed: settles what is committed and what is not. False, with the record's
  // error set, when the counts of the PST and of this account do not agree.
  bool Settle();
  // The PST takes nothing more: disk full, I/O error, size limit.
  bool DestinationFailed() const { return _copying && _pst->Failed(); }
  // Why the PST takes nothing more, or did not open; `otherwise` when that is not known.
  std::string Reason(std::string otherwise) const;
  // The folders of subfolders whose mailbox is missing that the walks met since the last call.
  // Nothing is recorded of them: what is in them may yet be converted.
  std::vector<std::u16string> TakeOrphans() { return std::exchange(_orphans, {}); }
  // Thunderbird has the profile open.
  void ProfileInUse(const std::u16string& profile);
  // What the engine has had to say for people since, while no item was in hand; one line, empty:
  // nothing.
  std::string EngineMessage() const;

  // ICancelable
  bool Cancel() override;
  // ILogger
  void WriteLog(std::u16string_view logString, bool briefLog, bool detailLog) override;
  // SourceObserver
  void MessageRead(const engine::MessageLocation& message) override;
  void MessageNamed(const engine::MessageLocation& message, std::string_view messageId) override;
  void SeparatorSuspected(const QuelmarMIMEEngineCommon::IAssetFolder& folder,
                          const engine::SuspectedSeparator& separator) override;
  void BeginningPassedOver(const QuelmarMIMEEngineCommon::IAssetFolder& folder, std::uint64_t bytes,
                           bool text) override;
  void PathSkipped(std::u16string_view path, engine::SkipReason reason,
                   const platform::Status& status) override;
  void IndexNotUsed(std::u16string_view index, engine::IndexFault fault,
                    const platform::Status& status) override;
  void ReadFailed(const QuelmarMIMEEngineCommon::IAssetFolder& folder, std::uint64_t offset,
                  const platform::Status& status) override;
  void MessageNotParsed(const engine::MessageLocation& message,
                        const platform::Status& dumpStatus) override;
  void MessageTooLarge(const engine::MessageLocation& message,
                       const platform::Status& status) override;
  void MessageConverted(const engine::MessageLocation& message, bool success,
                        const engine::ConversionNotes& notes) override;
  void CopySkipped(std::string_view messageId) override;
  void FolderDataSkipped(const engine::MessageLocation& message) override;
  void DeletedMessageSkipped(const engine::MessageLocation& message,
                             std::string_view messageId) override;

  // CarryObserver
  void StateCarried(carry::CarriedState carried) override;
  // WinmailObserver
  void WinmailCarried(const carry::CarriedWinmail& carried) override;
  // AddressObserver
  void AddressesCarried(const carry::AddressFields& fields) override;
  // MailObserver
  void MailCarried(const carry::MailCounts& counts) override { _item.mailKept = counts; }

  // DestinationObserver
  void MapiAnswered(engine::DestinationStep step, std::int32_t result) override;
  void StoreOpened(mapi::IMsgStore& store) override;
  void FolderRefused(const QuelmarMIMEEngineCommon::IAssetFolder& folder,
                     const std::vector<mapi::Refusal>& refusals) override;
  void FolderContinued(const QuelmarMIMEEngineCommon::IAssetFolder& full,
                       const QuelmarMIMEEngineCommon::IAssetFolder& next) override;

 private:
  struct Item : MessagePlace {
    std::uint64_t size = 0;
    bool failed = false;
    std::bitset<carry::kStateKinds> stateKept;
    carry::CarriedWinmail winmail;
    carry::AddressFields addressesKept;
    carry::MailCounts mailKept{};
  };

  void FinishItem();
  void AddFailure(const Item& item, FailureKind kind, std::string detail, std::string details);
  void AddRemark(engine::Remark remark);  // about the item in hand
  // What repair lost and a step has put back.
  bool IsKeptAfterAll(const engine::Remark& remark) const;
  // The item in hand was saved without something.
  void AddRefusals();
  void CountWritten(const Item& item);
  // Takes from the queue what the PST has committed since.
  void CountCommitted();

  ConversionRecord& _record;
  Logs& _logs;
  const platform::InterruptWatch& _interrupt;
  PstAccount* _pst = nullptr;
  bool _copying = false;
  std::u16string _engineMessage;
  std::vector<std::u16string> _orphans;

  std::size_t _folder = 0;
  Item _item;  // the one in hand
  bool _itemOpen = false;
  std::optional<FailureKind> _itemProblem;
  std::string _itemProblemDetail;
  std::vector<mapi::Refusal> _itemRefusals;
  std::u16string _itemDetails;  // as the engine logs them; kept for a failure only

  std::uint64_t _failures = 0;   // of the PST, when the item in hand was read
  std::uint64_t _saved = 0;      // as the PST had after the last item
  std::uint64_t _committed = 0;  // of these, settled
  std::deque<Item> _uncommitted;
};

}  // namespace parvane::cli
