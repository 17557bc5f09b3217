// Keeps the account of what the sources report: the messages read, and whatever is told of those
// that were not. It knows of no PST.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/conversion_record.h"
#include "cli/logs.h"
#include "engine/callbacks.h"
#include "engine/source_observer.h"
#include "platform/process.h"

namespace parvane::cli {

class SourceWitness : public engine::SourceObserver,
                      public QuelmarMIMEEngineCommon::ILogger,
                      public QuelmarMIMEEngineCommon::ICancelable {
 public:
  SourceWitness(ConversionRecord& record, Logs& logs, const platform::InterruptWatch& interrupt)
      : _record(record), _logs(logs), _interrupt(interrupt) {}

  // The sources have been opened: what is read from here on is mail.
  void BeginReading() { _reading = true; }
  // The folder of the record whose items come next.
  void BeginFolder(std::size_t index) { _folder = index; }
  // The folders of subfolders whose mailbox is missing that the walks met since the last call.
  // Nothing is recorded of them: what is in them may yet be converted.
  std::vector<std::u16string> TakeOrphans() { return std::exchange(_orphans, {}); }
  // Thunderbird has the profile open.
  void ProfileInUse(const std::u16string& profile);

  // ICancelable
  bool Cancel() override { return _interrupt.Requested(); }
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
  void CopySkipped(std::string_view messageId) override;
  void FolderDataSkipped(const engine::MessageLocation& message) override;
  void DeletedMessageSkipped(const engine::MessageLocation& message,
                             std::string_view messageId) override;

 protected:
  ConversionRecord& _record;
  Logs& _logs;
  const platform::InterruptWatch& _interrupt;
  bool _reading = false;
  std::size_t _folder = 0;
  MessagePlace _item;  // the one in hand
  std::uint64_t _itemSize = 0;
  bool _itemOpen = false;

 private:
  std::vector<std::u16string> _orphans;
};

}  // namespace parvane::cli
