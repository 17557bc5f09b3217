// A mailbox of Apple Mail: one EMLX file for each message.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "engine/source_observer.h"
#include "sources/message_file_folder.h"

namespace QuelmarMIMEEngineCommon {

// Parts that were left out of a message are put back from where they lie beside it; those that
// are not there are told as remarks. Takes mail even without files.
class AppleMailFolder : public MessageFileFolder {
 public:
  AppleMailFolder(NullableString directory, NullableString folderName, IAssetStore* ownerStore,
                  AssetFolderBase* parentFolder);

 protected:
  parvane::platform::Status ReadFile(const std::u16string& path,
                                     parvane::sources::MessageBuffer& message) override;
  void LearnState(std::u16string_view path, const parvane::engine::StateWishes& wishes,
                  parvane::engine::MessageState& state) override;
  void LearnDateElsewhere(parvane::engine::MessageState& state) override;
  std::vector<parvane::engine::Remark> TakeRemarks() override { return std::move(_remarks); }

 private:
  parvane::platform::Status ReadUnguarded(const std::u16string& path,
                                          parvane::sources::MessageBuffer& message);
  void PutPartsBack(const std::u16string& path, std::string_view text,
                    parvane::sources::MessageBuffer& message);

  // Of the message read last.
  std::map<std::string, std::string> _properties;
  std::vector<parvane::engine::Remark> _remarks;
};

}  // namespace QuelmarMIMEEngineCommon
