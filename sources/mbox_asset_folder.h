// A folder over one mbox file, read strictly forward, or over a directory, which has no items.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "platform/input_stream.h"
#include "sources/mail_asset_folder.h"
#include "sources/mbox_reading.h"

namespace QuelmarMIMEEngineCommon {

class MBOXAssetFolder : public MailAssetFolder, private parvane::sources::SeparatorWatcher {
 public:
  MBOXAssetFolder(NullableString mboxFilePath, NullableString folderName, IAssetStore* ownerStore,
                  AssetFolderBase* parentFolder);
  ~MBOXAssetFolder() override;

  // The file's size in bytes; 0 when there is no such file. The items' sizes add up to a little
  // less or more: they are without separators and have CR LF line ends.
  std::int64_t QueryTotalAssetUnits() override;
  void ResetQuery() override;

 protected:
  // Opens the file for shared reading.
  virtual parvane::platform::Result<std::unique_ptr<parvane::platform::InputStream>> OpenMbox();
  // The end of the file, and when it cannot be opened (the next call tries again). At the end the
  // file is closed, so that any number of folders may have been read without a ResetQuery.
  std::optional<MessageOrigin> ReadMessage(parvane::sources::MessageBuffer& message) override;
  parvane::engine::MessageState StateOf(const parvane::sources::StateHeaders& headers,
                                        const parvane::engine::StateWishes& wishes) override;
  // The line in front of the message.
  void LearnDateElsewhere(parvane::engine::MessageState& state) override;
  void Close() override { _mboxFileStreamP.reset(); }
  void ReportBreak(const parvane::platform::Status& why) override;
  // Of the message in hand.
  const parvane::sources::MessagePlace& Place() const { return _place; }

 private:
  bool EnsureOpen();
  void ReportChangeOfSize();
  void SeparatorFound(std::uint64_t offset, std::string_view line, bool afterEmptyLine) override;

  NullableString _mboxFilePath;
  std::unique_ptr<parvane::platform::InputStream> _mboxFileStreamP;  // null while closed
  bool _mboxFileOpened = false;  // also at the end, when the stream is gone again
  parvane::sources::MessagePlace _place;
  std::optional<std::uint64_t> _nextSeparator;  // seen behind the message in hand
  std::int64_t _sizeAtStart = 0;                // of the file when it was opened
  bool _readErrorReported = false;
};

}  // namespace QuelmarMIMEEngineCommon
