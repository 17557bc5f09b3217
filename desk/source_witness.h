// Keeps the account of what the sources report: the messages read with what comes along with them,
// and whatever is told of mail that was not. It knows of no PST.
#pragma once

#include <bitset>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "carry/address_step.h"
#include "carry/item_in_hand.h"
#include "carry/state_step.h"
#include "carry/winmail_step.h"
#include "desk/conversion_record.h"
#include "desk/logs.h"
#include "desk/run_observer.h"
#include "engine/callbacks.h"
#include "engine/source_observer.h"
#include "moves/year_filter.h"

namespace parvane::desk {

class SourceWitness : public engine::SourceObserver,
                      public carry::CarryObserver,
                      public carry::MailObserver,
                      public carry::WinmailObserver,
                      public carry::AddressObserver,
                      public QuelmarMIMEEngineCommon::ILogger,
                      public QuelmarMIMEEngineCommon::ICancelable {
 public:
  SourceWitness(ConversionRecord& record, Logs& logs, const RunObserver& observer)
      : _record(record), _logs(logs), _observer(observer) {}
  virtual ~SourceWitness() = default;

  // The sources have been opened: what is read from here on is mail.
  void BeginReading() { _reading = true; }
  // All of it has been read once, and all told that there is to tell of files and folders; from
  // here on the same is read again for its messages.
  void ReadAgain() { _again = true; }
  // The folder of the record whose items come next.
  void BeginFolder(std::size_t index) { _folder = index; }
  // The copy of the folder ended; `problem` is why it broke off, if it did.
  virtual void EndFolder(const std::string& problem) = 0;
  // Why the destination takes nothing more; `otherwise` when that is not known.
  virtual std::string Reason(std::string otherwise) const { return otherwise; }
  // The item in hand, if any, and those that come next are this folder's.
  void GoOnIn(std::size_t index);
  // The folders of subfolders whose mailbox is missing that the walks met since the last call.
  // Nothing is recorded of them: what is in them may yet be converted.
  std::vector<std::u16string> TakeOrphans() { return std::exchange(_orphans, {}); }
  // Thunderbird has the profile open.
  void ProfileInUse(const std::u16string& profile);
  // The message read last is not wanted, and does not count as read; one that could not be parsed
  // has failed all the same.
  void PassOver(const moves::Judgement& why);
  // It is left to another run, and counts for nothing in this one.
  void PutBack();

  // ICancelable
  bool Cancel() override { return _observer.StopRequested(); }
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
  void MailCarried(const carry::MailCounts& counts) override { _carried.mailKept = counts; }

 protected:
  // What came along with a message beside its conversion.
  struct Carried {
    std::bitset<carry::kStateKinds> stateKept;
    carry::CarriedWinmail winmail;
    carry::AddressFields addressesKept;
    carry::MailCounts mailKept{};
  };

  void AddFailure(const MessagePlace& item, FailureKind kind, std::string detail,
                  std::string details);
  void AddRemark(engine::Remark remark);  // about the item in hand
  // The item in hand is a message without something; `told`: the last failure, where it was this.
  void AddRefusals(const std::string& told);
  void CountCarried(const Carried& carried);

  ConversionRecord& _record;
  Logs& _logs;
  const RunObserver& _observer;
  bool _reading = false;
  bool _again = false;
  std::size_t _folder = 0;
  MessagePlace _item;  // the one in hand
  std::uint64_t _itemSize = 0;
  bool _itemOpen = false;
  Carried _carried;
  std::optional<FailureKind> _itemProblem;
  std::string _itemProblemDetail;
  std::vector<mapi::Refusal> _itemRefusals;
  platform::FileTime _itemDelivered;
  moves::YearFinder _years;

 private:
  bool Tells() const { return _reading && !_again; }
  // What repair lost and a step has put back.
  bool IsKeptAfterAll(const engine::Remark& remark) const;

  std::vector<std::u16string> _orphans;
};

}  // namespace parvane::desk
