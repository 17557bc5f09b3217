// A folder over one mbox file, read strictly forward, or over a directory, which has no items.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "engine/asset_bases.h"
#include "engine/message_state.h"
#include "engine/source_observer.h"
#include "platform/input_stream.h"
#include "sources/mbox_reading.h"
#include "sources/state/state_headers.h"

namespace QuelmarMIMEEngineCommon {

class MBOXEmailAsset;

// The content count is -1: messages are not counted before they are read.
class MBOXAssetFolder : public AssetFolderBase, private parvane::sources::SeparatorWatcher {
 public:
  MBOXAssetFolder(NullableString mboxFilePath, NullableString folderName, IAssetStore* ownerStore,
                  AssetFolderBase* parentFolder);
  ~MBOXAssetFolder() override;

  void PrepareContent() override {}
  // The file's size in bytes; 0 when there is no such file. The items' sizes add up to a little
  // less or more: they are without separators and have CR LF line ends.
  std::int64_t QueryTotalAssetUnits() override;
  // Null at the end of the file, and when it cannot be opened (the next call tries again). At the
  // end the file is closed and the buffer given back, so that any number of folders may have been
  // read without a ResetQuery. A message that memory does not suffice for is an item like any
  // other, whose conversion fails.
  std::unique_ptr<IAssetQueryResult> QueryAsset() override;
  void ResetQuery() override;
  void Release() override;

 protected:
  // Opens the file for shared reading.
  virtual parvane::platform::Result<std::unique_ptr<parvane::platform::InputStream>> OpenMbox();
  // What there is to know of a message, beside what its header says and with it.
  virtual parvane::engine::MessageState StateOf(const parvane::sources::MessagePlace& place,
                                                const parvane::sources::StateHeaders& headers,
                                                const parvane::engine::StateWishes& wishes);
  parvane::engine::SourceObserver* Observer() const;

 private:
  // Null when nobody asks for the messages' state.
  const parvane::engine::StateWishes* StateWishes() const;
  bool EnsureOpen();
  std::unique_ptr<IAssetQueryResult> NextAsset();
  // Reads the next message; nothing at the end of the file.
  std::optional<parvane::engine::MessageLocation> ReadMessage();
  // The message in hand is to be no item, which the observer is told.
  bool IsLeftOut(const parvane::engine::MessageLocation& location);
  // For an item without a usable Date: when it came, by whatever tells.
  void LookForDate(MBOXEmailAsset& asset);
  void Close();
  void ReportBreak(const parvane::platform::Status& why);
  void ReportChangeOfSize();
  void SeparatorFound(std::uint64_t offset, std::string_view line, bool afterEmptyLine) override;

  NullableString _mboxFilePath;
  std::unique_ptr<parvane::platform::InputStream> _mboxFileStreamP;  // null while closed
  bool _mboxFileOpened = false;  // also at the end, when the stream is gone again
  // One buffer for all messages: a new one is made only when an item keeps the last one's.
  std::shared_ptr<parvane::sources::MessageBuffer> _message;
  std::shared_ptr<std::string> _header;         // the same for repaired headers
  parvane::sources::MessagePlace _place;        // of the message in hand
  std::optional<std::uint64_t> _nextSeparator;  // seen behind it
  std::int64_t _messageIndex = 0;               // of the next message
  std::int64_t _sizeAtStart = 0;                // of the file when it was opened
  bool _readErrorReported = false;
};

}  // namespace QuelmarMIMEEngineCommon
