#include "sources/mbox_asset_folder.h"

#include <array>
#include <exception>
#include <span>
#include <utility>

#include "engine/source_observer.h"
#include "mime/email_message.h"
#include "mime/mime_header.h"
#include "sources/mbox_email_asset.h"
#include "sources/state/fallback_date.h"
#include "sources/state/header_state.h"

namespace QuelmarMIMEEngineCommon {

namespace engine = parvane::engine;
namespace platform = parvane::platform;

namespace {

constexpr std::size_t kReportedLineLimit = 256;
// What is read at a time: few calls, and still in the nearest caches when its lines are copied.
constexpr std::size_t kReadSize = 64u << 10;

}  // namespace

MBOXAssetFolder::MBOXAssetFolder(NullableString mboxFilePath, NullableString folderName,
                                 IAssetStore* ownerStore, AssetFolderBase* parentFolder)
    : AssetFolderBase(-1, std::move(folderName), mboxFilePath, ownerStore, parentFolder) {
  // Should anything here fail, the base's destructor takes the folder out of its parent again.
  _mboxFilePath = std::move(mboxFilePath);
  if (_mboxFilePath && platform::FileSystem::Default().FileExists(*_mboxFilePath))
    _folderType = kAssetFolderTypeEmail;
}

MBOXAssetFolder::~MBOXAssetFolder() { MBOXAssetFolder::Release(); }

std::int64_t MBOXAssetFolder::QueryTotalAssetUnits() {
  if (!_mboxFilePath) return 0;
  const auto information = platform::FileSystem::Default().Inspect(*_mboxFilePath);
  return information.kind == platform::FileKind::kFile ? static_cast<std::int64_t>(information.size)
                                                       : 0;
}

platform::Result<std::unique_ptr<platform::InputStream>> MBOXAssetFolder::OpenMbox() {
  if (!_mboxFilePath)
    return platform::Status(platform::StatusCode::kNotFound, "the folder has no file");
  return platform::OpenInputStream(platform::FileSystem::Default(), *_mboxFilePath, kReadSize);
}

engine::SourceObserver* MBOXAssetFolder::Observer() const {
  const AssetStoreBase* store = EngineStore();
  return store ? store->Observer() : nullptr;
}

bool MBOXAssetFolder::EnsureOpen() {
  if (_mboxFileOpened) return true;
  auto stream = OpenMbox();
  if (!stream.ok()) {
    // A folder over a directory has no file, which is no failure.
    engine::SourceObserver* observer = Observer();
    if (observer && _mboxFilePath && !platform::FileSystem::Default().FolderExists(*_mboxFilePath))
      observer->ReadFailed(*this, 0, stream.status());
    return false;
  }
  _mboxFileStreamP = std::move(stream).value();
  _mboxFileOpened = true;
  _sizeAtStart = QueryTotalAssetUnits();
  return true;
}

std::unique_ptr<IAssetQueryResult> MBOXAssetFolder::QueryAsset() {
  try {
    return NextAsset();
  } catch (const std::exception& error) {
    // Nothing that large is asked for here: the memory is all but used up.
    if (_mboxFileStreamP && Observer()) ReportBreak({platform::StatusCode::kTooBig, error.what()});
    Close();
    return nullptr;
  }
}

std::optional<engine::MessageLocation> MBOXAssetFolder::ReadMessage() {
  engine::SourceObserver* observer = Observer();
  // Who wants to know where a message stands sees the separators.
  const bool watched = observer || StateWishes();
  if (!_message || _message.use_count() > 1)
    _message = std::make_shared<parvane::sources::MessageBuffer>();
  _message->clear();
  // Nothing between two separators is no message; reading goes on behind it.
  do {
    _place.separator = _nextSeparator.value_or(0);
    _nextSeparator.reset();
    _place.begin =
        parvane::sources::ScanMboxMessage(*_mboxFileStreamP, *_message, watched ? this : nullptr);
    _place.end = _nextSeparator.value_or(_mboxFileStreamP->Position());
  } while (_message->empty() && _message->lost() == 0 && !_mboxFileStreamP->Buffer().empty());

  if (observer && !_mboxFileStreamP->status().ok()) ReportBreak(_mboxFileStreamP->status());
  if (_message->empty() && _message->lost() == 0) {
    if (observer) ReportChangeOfSize();
    Close();
    return std::nullopt;
  }
  return engine::MessageLocation{this, _messageIndex++, _place.begin,
                                 _message->size() + _message->lost()};
}

std::unique_ptr<IAssetQueryResult> MBOXAssetFolder::NextAsset() {
  if (!EnsureOpen() || !_mboxFileStreamP) return nullptr;
  engine::SourceObserver* observer = Observer();
  while (const auto location = ReadMessage()) {
    if (IsLeftOut(*location)) continue;
    if (observer) observer->MessageRead(*location);
    if (!_header || _header.use_count() > 1) _header = std::make_shared<std::string>();
    MBOXEmailAsset::StateReader readState;
    if (const engine::StateWishes* wishes = StateWishes(); wishes && !wishes->datesOnly) {
      readState = [this, wishes](const Tessary::MimeHeader& header, std::string_view message) {
        const parvane::sources::StateHeaders headers(header, message);
        return std::make_unique<engine::MessageState>(StateOf(_place, headers, *wishes));
      };
    }
    auto asset = _message->lost() > 0 ? std::make_unique<MBOXEmailAsset>(observer, *location)
                                      : std::make_unique<MBOXEmailAsset>(
                                            Tessary::ByteSlice::Share(_message, _message->view()),
                                            _header, observer, *location, readState);
    if (StateWishes() && asset->LacksDate()) LookForDate(*asset);
    return std::make_unique<AssetQueryResult>(std::move(asset),
                                              static_cast<std::int64_t>(location->size));
  }
  return nullptr;
}

bool MBOXAssetFolder::IsLeftOut(const engine::MessageLocation& location) {
  const engine::StateWishes* wishes = StateWishes();
  // Before the first is read, the observer hears what there is to say of the whole folder.
  if (!wishes || wishes->datesOnly || (location.index > 0 && !wishes->skipDeleted)) return false;
  Tessary::MimeHeader header;
  header.Load(_message->view());
  if (location.index == 0 && parvane::sources::IsFolderData(header)) {
    if (Observer()) Observer()->FolderDataSkipped(location);
    return true;
  }
  const parvane::sources::StateHeaders headers(header, _message->view());
  const engine::MessageState state = StateOf(_place, headers, *wishes);
  if (!wishes->skipDeleted || !state.deleted.Is(true)) return false;
  if (Observer()) Observer()->DeletedMessageSkipped(location, MessageIdIn(header));
  return true;
}

engine::MessageState MBOXAssetFolder::StateOf(const parvane::sources::MessagePlace&,
                                              const parvane::sources::StateHeaders& headers,
                                              const engine::StateWishes& wishes) {
  engine::MessageState state;
  parvane::sources::ReadHeaderState(headers, parvane::sources::MailboxWriter::kOther, wishes,
                                    state);
  return state;
}

const engine::StateWishes* MBOXAssetFolder::StateWishes() const {
  const AssetStoreBase* store = EngineStore();
  return store ? store->StateWishes() : nullptr;
}

void MBOXAssetFolder::LookForDate(MBOXEmailAsset& asset) {
  using namespace parvane::sources;
  if (!asset.MutableState()) {
    Tessary::MimeHeader header;
    header.Load(_message->view());
    const StateHeaders headers(header, _message->view());
    asset.SetState(
        std::make_unique<engine::MessageState>(StateOf(_place, headers, *StateWishes())));
  }
  engine::MessageState& state = *asset.MutableState();
  state.undated = true;
  LearnDate(asset.DateAsItCame(), engine::StateOrigin::kDateField, state);
  LearnDateOfHeader(asset.Parsed()->entity().header(), state);
  if (state.date.value) return;
  // Few messages come to this, so that their separators are read once more rather than all kept.
  constexpr std::size_t kLongestLine = 512;
  std::array<char, kLongestLine> line;
  auto file =
      platform::FileSystem::Default().Open(*_mboxFilePath, platform::FileSystem::OpenMode::kRead);
  if (!file.ok()) return;
  const auto count = (*file)->ReadAt(_place.separator, std::as_writable_bytes(std::span(line)));
  if (count.ok()) LearnDateOfSeparator({line.data(), *count}, state);
}

void MBOXAssetFolder::ReportBreak(const platform::Status& why) {
  if (std::exchange(_readErrorReported, true)) return;
  Observer()->ReadFailed(*this, _mboxFileStreamP->Position(), why);
}

// A mail program that is at work on the file can only be seen by the file's size: at the end of
// reading nobody knows whether the last messages are whole.
void MBOXAssetFolder::ReportChangeOfSize() {
  const auto now = platform::FileSystem::Default().Inspect(_mboxFilePath.value_or(u""));
  if (now.kind != platform::FileKind::kFile) return;  // removed meanwhile, and read all the same
  const auto read = static_cast<std::int64_t>(_mboxFileStreamP->Position());
  const std::int64_t size = static_cast<std::int64_t>(now.size);
  if (read == _sizeAtStart && read == size) return;
  ReportBreak({platform::StatusCode::kIoError, "changed while it was read, from " +
                                                   std::to_string(_sizeAtStart) + " to " +
                                                   std::to_string(size) + " bytes"});
}

void MBOXAssetFolder::SeparatorFound(std::uint64_t offset, std::string_view line,
                                     bool afterEmptyLine) {
  _nextSeparator = offset;
  const bool hasDate = parvane::sources::SeparatorHasDate(line);
  engine::SourceObserver* observer = Observer();
  if (!observer || (hasDate && afterEmptyLine)) return;
  observer->SeparatorSuspected(*this, offset,
                               hasDate ? engine::SuspiciousSeparatorReason::kNoEmptyLineBefore
                                       : engine::SuspiciousSeparatorReason::kNoDate,
                               line.substr(0, kReportedLineLimit));
}

void MBOXAssetFolder::Close() {
  _mboxFileStreamP.reset();
  _message.reset();
  _header.reset();
}

void MBOXAssetFolder::ResetQuery() {
  Close();
  _mboxFileOpened = false;
  _messageIndex = 0;
  _nextSeparator.reset();
  _readErrorReported = false;
}

void MBOXAssetFolder::Release() {
  ResetQuery();
  AssetFolderBase::Release();
}

}  // namespace QuelmarMIMEEngineCommon
