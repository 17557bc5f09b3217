// A folder of messages that have files of their own, in one directory or several.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/input_stream.h"
#include "sources/mail_asset_folder.h"
#include "sources/message_file_reading.h"

namespace QuelmarMIMEEngineCommon {

// Without files it is a folder that only holds others. A file that cannot be read is no item: the
// observer is told that it was passed over, and reading goes on with the next.
class MessageFileFolder : public MailAssetFolder {
 public:
  MessageFileFolder(NullableString directory, NullableString folderName, IAssetStore* ownerStore,
                    AssetFolderBase* parentFolder);
  ~MessageFileFolder() override;

  // `path` begins at the folder's directory; `size` counts towards its total. They are read in the
  // order in which they are added.
  void AddFile(std::u16string_view path, std::uint64_t size);

  // Bytes of all files.
  std::int64_t QueryTotalAssetUnits() override { return static_cast<std::int64_t>(_bytes); }
  void ResetQuery() override;

 protected:
  // Opens a file for reading, unpacked if its first bytes say that it is compressed, as mail
  // servers keep files without a word in their names.
  virtual parvane::platform::Result<std::unique_ptr<parvane::platform::InputStream>> OpenFile(
      const std::u16string& path);
  // Reads the message in the file at `path`, `message` being empty.
  virtual parvane::platform::Status ReadFile(const std::u16string& path,
                                             parvane::sources::MessageBuffer& message);
  // What the file's name and what is kept beside it tell of the message read last, whose file is at
  // `path` below the directory; before its header is asked.
  virtual void LearnState(std::u16string_view /*path*/,
                          const parvane::engine::StateWishes& /*wishes*/,
                          parvane::engine::MessageState& /*state*/) {}

  std::optional<MessageOrigin> ReadMessage(parvane::sources::MessageBuffer& message) override;
  parvane::engine::MessageState StateOf(const parvane::sources::StateHeaders& headers,
                                        const parvane::engine::StateWishes& wishes) override;
  // A separator line in front of the message.
  void LearnDateElsewhere(parvane::engine::MessageState& state) override;
  void ReportBreak(const parvane::platform::Status& why) override;
  // Of the message read last, below the directory.
  std::u16string_view FileInHand() const;

 private:
  // All paths one after the other: of a million files that is what counts.
  std::u16string _paths;
  std::vector<std::size_t> _ends;  // of each in _paths
  std::uint64_t _bytes = 0;
  std::size_t _next = 0;                      // to be read
  parvane::sources::MessageFileStart _start;  // of the message read last
};

}  // namespace QuelmarMIMEEngineCommon
