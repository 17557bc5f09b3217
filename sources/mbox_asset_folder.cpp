#include "sources/mbox_asset_folder.h"

#include <array>
#include <span>
#include <utility>

#include "platform/file.h"
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
    : MailAssetFolder(std::move(folderName), mboxFilePath, ownerStore, parentFolder) {
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

std::optional<MailAssetFolder::MessageOrigin> MBOXAssetFolder::ReadMessage(
    parvane::sources::MessageBuffer& message) {
  if (!EnsureOpen() || !_mboxFileStreamP) return std::nullopt;
  engine::SourceObserver* observer = Observer();
  // Who wants to know where a message stands sees the separators.
  const bool watched = observer || StateWishes();
  // Nothing between two separators is no message; reading goes on behind it.
  do {
    _place.separator = _nextSeparator.value_or(0);
    _nextSeparator.reset();
    _place.begin =
        parvane::sources::ScanMboxMessage(*_mboxFileStreamP, message, watched ? this : nullptr);
    _place.end = _nextSeparator.value_or(_mboxFileStreamP->Position());
  } while (message.empty() && message.lost() == 0 && !_mboxFileStreamP->Buffer().empty());

  if (observer && !_mboxFileStreamP->status().ok()) ReportBreak(_mboxFileStreamP->status());
  if (!message.empty() || message.lost() > 0) return MessageOrigin{_place.begin, {}};
  if (observer) ReportChangeOfSize();
  return std::nullopt;
}

engine::MessageState MBOXAssetFolder::StateOf(const parvane::sources::StateHeaders& headers,
                                              const engine::StateWishes& wishes) {
  engine::MessageState state;
  parvane::sources::ReadHeaderState(headers, parvane::sources::MailboxWriter::kOther, wishes,
                                    state);
  return state;
}

void MBOXAssetFolder::LearnDateElsewhere(engine::MessageState& state) {
  // Few messages come to this, so that their separators are read once more rather than all kept.
  constexpr std::size_t kLongestLine = 512;
  std::array<char, kLongestLine> line;
  auto file =
      platform::FileSystem::Default().Open(*_mboxFilePath, platform::FileSystem::OpenMode::kRead);
  if (!file.ok()) return;
  const auto count = (*file)->ReadAt(_place.separator, std::as_writable_bytes(std::span(line)));
  if (count.ok()) parvane::sources::LearnDateOfSeparator({line.data(), *count}, state);
}

void MBOXAssetFolder::ReportBreak(const platform::Status& why) {
  if (!_mboxFileStreamP || !Observer() || std::exchange(_readErrorReported, true)) return;
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

void MBOXAssetFolder::ResetQuery() {
  MailAssetFolder::ResetQuery();
  _mboxFileOpened = false;
  _nextSeparator.reset();
  _readErrorReported = false;
}

}  // namespace QuelmarMIMEEngineCommon
