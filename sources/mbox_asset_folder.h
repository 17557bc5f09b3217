// A folder over one mbox file, read strictly forward, or over a directory, which has no items.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/input_stream.h"
#include "sources/mail_asset_folder.h"
#include "sources/mailbox_cutting.h"
#include "sources/mbox_reading.h"
#include "sources/strict_judge.h"

namespace QuelmarMIMEEngineCommon {

// As its store's user wishes (engine/mailbox_wishes.h), it may be cut into messages otherwise than
// every other mailbox.
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
  void Close() override;
  void ReportBreak(const parvane::platform::Status& why) override;
  // Whether a valid index of the mailbox has a message whose separator stands there; nothing: there
  // is no such index.
  virtual std::optional<bool> IndexHasSeparatorAt(std::uint64_t /*offset*/) { return std::nullopt; }
  // Of the message in hand.
  const parvane::sources::MessagePlace& Place() const { return _place; }

 private:
  // How this mailbox is cut.
  enum class Cut { kStandard, kStrict, kMmdf };
  // A separator line that may be text, until the line behind it is known as well.
  struct Suspect {
    std::uint64_t offset = 0;
    std::string line;
    bool afterEmptyLine = false;
  };

  bool EnsureOpen();
  void BeginCutting();
  // Passes over what stands before the first separator, if anything.
  void PassOverBeginning();
  bool AtEnd();
  std::uint64_t Scan(parvane::sources::MessageBuffer& message);
  void TellOf(const Suspect& suspect, std::string_view nextLine);
  void ReportChangeOfSize();
  void SeparatorFound(std::uint64_t offset, std::string_view line, bool afterEmptyLine) override;

  NullableString _mboxFilePath;
  std::unique_ptr<parvane::platform::InputStream> _mboxFileStreamP;  // null while closed
  bool _mboxFileOpened = false;  // also at the end, when the stream is gone again
  parvane::sources::MessagePlace _place;
  std::optional<std::uint64_t> _nextSeparator;  // seen behind the message in hand
  std::optional<Suspect> _suspect;
  bool _ofPatches = false;  // the file is a series of them, each a message
  Cut _cut = Cut::kStandard;
  std::unique_ptr<parvane::sources::StrictJudge>
      _judge;  // where the rule is strict, as is the next
  std::optional<parvane::sources::JudgedMailbox> _judged;
  std::int64_t _sizeAtStart = 0;  // of the file when it was opened
  bool _readErrorReported = false;
};

}  // namespace QuelmarMIMEEngineCommon
