// A folder of a source that is read from front to back.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "sources/mail_asset_folder.h"
#include "sources/stores/packed/label_places.h"

namespace parvane::sources {

class PackedMailStore;

class PackedMailFolder : public QuelmarMIMEEngineCommon::MailAssetFolder {
 public:
  // Holds folders only, until mail is put there.
  PackedMailFolder(QuelmarMIMEEngineCommon::NullableString folderName,
                   QuelmarMIMEEngineCommon::NullableString diskPath, PackedMailStore& store,
                   PackedMailFolder* parent);
  ~PackedMailFolder() override;

  void TakesMail() { _folderType = QuelmarMIMEEngineCommon::kAssetFolderTypeEmail; }
  void SetPlace(LabelPlace place) { _place = std::move(place); }
  void AddUnits(std::uint64_t units) { _units += static_cast<std::int64_t>(units); }

  // Bytes of the packed files that the folder's messages take there, or that share of them.
  std::int64_t QueryTotalAssetUnits() override { return _units; }
  void ResetQuery() override;

 protected:
  std::optional<MessageOrigin> ReadMessage(MessageBuffer& message) override;
  engine::MessageState StateOf(const StateHeaders& headers,
                               const engine::StateWishes& wishes) override;
  void LearnDateElsewhere(engine::MessageState& state) override;
  std::int64_t UnitsOf(const engine::MessageLocation& message) const override;
  void Close() override;
  void ReportBreak(const platform::Status& why) override;

 private:
  PackedMailStore& _store;
  std::optional<LabelPlace> _place;  // none where labels have no say
  std::int64_t _units = 0;
  bool _atEnd = false;  // read by itself, and not rewound since
};

}  // namespace parvane::sources
