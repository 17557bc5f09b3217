// A folder of mail, whatever it is kept in: turns the messages that are read, one after the other,
// into items, and tells the store's observer of each.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/asset_bases.h"
#include "engine/message_state.h"
#include "engine/source_observer.h"
#include "platform/status.h"
#include "sources/message_buffer.h"
#include "sources/state/state_headers.h"

namespace QuelmarMIMEEngineCommon {

class MBOXEmailAsset;

// The content count is -1: messages are not counted before they are read.
class MailAssetFolder : public AssetFolderBase {
 public:
  ~MailAssetFolder() override;

  void PrepareContent() override {}
  // Null when there are no more. A message that memory does not suffice for is an item like any
  // other, whose conversion fails.
  std::unique_ptr<IAssetQueryResult> QueryAsset() override;
  void ResetQuery() override;
  void Release() override;

 protected:
  // Where a message was read.
  struct MessageOrigin {
    std::uint64_t offset = 0;  // in its file
    std::u16string path;       // of that file, when it holds this message alone
  };

  MailAssetFolder(NullableString folderName, NullableString folderDiskPath, IAssetStore* ownerStore,
                  AssetFolderBase* parentFolder);

  // Reads the next message into `message`, which is empty: its lines, each ended by CR LF. Nothing
  // at the end; the folder has then told of whatever kept it from reading on.
  virtual std::optional<MessageOrigin> ReadMessage(parvane::sources::MessageBuffer& message) = 0;
  // What there is to know of the message read last, beside what its header says and with it.
  virtual parvane::engine::MessageState StateOf(const parvane::sources::StateHeaders& headers,
                                                const parvane::engine::StateWishes& wishes) = 0;
  // When the message read last came, where neither its Date nor the rest of its header tells.
  virtual void LearnDateElsewhere(parvane::engine::MessageState& /*state*/) {}
  // What its owner is to know of the message read last.
  virtual std::vector<parvane::engine::Remark> TakeRemarks() { return {}; }
  // What the message read last weighs, in progress units: its bytes, unless its folder counts
  // others.
  virtual std::int64_t UnitsOf(const parvane::engine::MessageLocation& message) const {
    return static_cast<std::int64_t>(message.size);
  }
  // Closes what was open for reading: at the end, and before reading begins anew.
  virtual void Close() {}
  // Reading has ended here, for want of memory or by a fault of the file.
  virtual void ReportBreak(const parvane::platform::Status& why) = 0;

  // Null when nobody observes.
  parvane::engine::SourceObserver* Observer() const;
  // Null when nobody asks for the messages' state.
  const parvane::engine::StateWishes* StateWishes() const;

 private:
  std::unique_ptr<IAssetQueryResult> NextAsset();
  std::optional<parvane::engine::MessageLocation> NextMessage();
  std::unique_ptr<MBOXEmailAsset> MakeAsset(const parvane::engine::MessageLocation& location);
  // The message in hand is to be no item, which the observer is told.
  bool IsLeftOut(const parvane::engine::MessageLocation& location);
  // For an item without a usable Date: when it came, by whatever tells.
  void LookForDate(MBOXEmailAsset& asset);
  void GiveBack();

  // One buffer for all messages: a new one is made only when an item keeps the last one's.
  std::shared_ptr<parvane::sources::MessageBuffer> _message;
  std::shared_ptr<std::string> _header;  // the same for repaired headers
  std::int64_t _messageIndex = 0;        // of the next message
};

}  // namespace QuelmarMIMEEngineCommon
