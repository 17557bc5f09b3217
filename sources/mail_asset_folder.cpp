#include "sources/mail_asset_folder.h"

#include <exception>
#include <utility>

#include "mime/email_message.h"
#include "mime/mime_header.h"
#include "sources/mbox_email_asset.h"
#include "sources/state/fallback_date.h"
#include "sources/state/header_state.h"

namespace QuelmarMIMEEngineCommon {

namespace engine = parvane::engine;
using parvane::sources::StateHeaders;

MailAssetFolder::MailAssetFolder(NullableString folderName, NullableString folderDiskPath,
                                 IAssetStore* ownerStore, AssetFolderBase* parentFolder)
    : AssetFolderBase(-1, std::move(folderName), std::move(folderDiskPath), ownerStore,
                      parentFolder) {}

MailAssetFolder::~MailAssetFolder() = default;

engine::SourceObserver* MailAssetFolder::Observer() const {
  const AssetStoreBase* store = EngineStore();
  return store ? store->Observer() : nullptr;
}

const engine::StateWishes* MailAssetFolder::StateWishes() const {
  const AssetStoreBase* store = EngineStore();
  return store ? store->StateWishes() : nullptr;
}

std::unique_ptr<IAssetQueryResult> MailAssetFolder::QueryAsset() {
  try {
    return NextAsset();
  } catch (const std::exception& error) {
    // Nothing that large is asked for here: the memory is all but used up.
    ReportBreak({parvane::platform::StatusCode::kTooBig, error.what()});
    GiveBack();
    return nullptr;
  }
}

std::unique_ptr<IAssetQueryResult> MailAssetFolder::NextAsset() {
  while (const auto location = NextMessage()) {
    if (IsLeftOut(*location)) continue;
    if (Observer()) Observer()->MessageRead(*location);
    auto asset = MakeAsset(*location);
    if (StateWishes() && asset->LacksDate()) LookForDate(*asset);
    return std::make_unique<AssetQueryResult>(std::move(asset), UnitsOf(*location));
  }
  return nullptr;
}

std::optional<engine::MessageLocation> MailAssetFolder::NextMessage() {
  if (!_message || _message.use_count() > 1)
    _message = std::make_shared<parvane::sources::MessageBuffer>();
  _message->clear();
  auto origin = ReadMessage(*_message);
  if (!origin) {
    GiveBack();
    return std::nullopt;
  }
  return engine::MessageLocation{this, _messageIndex++, origin->offset,
                                 _message->size() + _message->lost(), std::move(origin->path)};
}

std::unique_ptr<MBOXEmailAsset> MailAssetFolder::MakeAsset(
    const engine::MessageLocation& location) {
  if (_message->lost() > 0) return std::make_unique<MBOXEmailAsset>(Observer(), location);
  if (!_header || _header.use_count() > 1) _header = std::make_shared<std::string>();
  MBOXEmailAsset::StateReader readState;
  if (const engine::StateWishes* wishes = StateWishes(); wishes && !wishes->datesOnly) {
    readState = [this, wishes](const Tessary::MimeHeader& header, std::string_view message) {
      const StateHeaders headers(header, message);
      return std::make_unique<engine::MessageState>(StateOf(headers, *wishes));
    };
  }
  auto asset =
      std::make_unique<MBOXEmailAsset>(Tessary::ByteSlice::Share(_message, _message->view()),
                                       _header, Observer(), location, readState);
  asset->AddRemarks(TakeRemarks());
  return asset;
}

bool MailAssetFolder::IsLeftOut(const engine::MessageLocation& location) {
  const engine::StateWishes* wishes = StateWishes();
  // Before the first is read, the observer hears what there is to say of the whole folder.
  if (!wishes || wishes->datesOnly || (location.index > 0 && !wishes->skipDeleted)) return false;
  Tessary::MimeHeader header;
  header.Load(_message->view());
  if (location.index == 0 && parvane::sources::IsFolderData(header)) {
    if (Observer()) Observer()->FolderDataSkipped(location);
    return true;
  }
  const StateHeaders headers(header, _message->view());
  const engine::MessageState state = StateOf(headers, *wishes);
  if (!wishes->skipDeleted || !state.deleted.Is(true)) return false;
  if (Observer()) Observer()->DeletedMessageSkipped(location, MessageIdIn(header));
  return true;
}

void MailAssetFolder::LookForDate(MBOXEmailAsset& asset) {
  if (!asset.MutableState()) {
    Tessary::MimeHeader header;
    header.Load(_message->view());
    const StateHeaders headers(header, _message->view());
    asset.SetState(std::make_unique<engine::MessageState>(StateOf(headers, *StateWishes())));
  }
  engine::MessageState& state = *asset.MutableState();
  state.undated = true;
  parvane::sources::LearnDate(asset.DateAsItCame(), engine::StateOrigin::kDateField, state);
  parvane::sources::LearnDateOfHeader(asset.Parsed()->entity().header(), state);
  if (!state.date.value) LearnDateElsewhere(state);
}

void MailAssetFolder::GiveBack() {
  Close();
  _message.reset();
  _header.reset();
}

void MailAssetFolder::ResetQuery() {
  GiveBack();
  _messageIndex = 0;
}

void MailAssetFolder::Release() {
  ResetQuery();
  AssetFolderBase::Release();
}

}  // namespace QuelmarMIMEEngineCommon
