#include "sources/mbox_asset_folder.h"

#include <array>
#include <span>
#include <utility>

#include "engine/mailbox_wishes.h"
#include "platform/file.h"
#include "sources/line_cursor.h"
#include "sources/separators.h"
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
  BeginCutting();
  return true;
}

void MBOXAssetFolder::BeginCutting() {
  const std::span<const char> start = _mboxFileStreamP->Buffer();
  const std::string_view line(start.data(), start.size());
  _ofPatches =
      parvane::sources::SignsOf(line.substr(0, line.find_first_of("\r\n")), {}, true).patch;
  const AssetStoreBase* store = EngineStore();
  const engine::MailboxWishes* wishes = store ? store->MailboxWishes() : nullptr;
  _cut = Cut::kStandard;
  if (!wishes) return;
  if (wishes->separators == engine::SeparatorRule::kStrict) {
    auto file =
        platform::FileSystem::Default().Open(*_mboxFilePath, platform::FileSystem::OpenMode::kRead);
    _judge = std::make_unique<parvane::sources::StrictJudge>(
        file.ok() ? std::move(file).value() : nullptr,
        [this](std::uint64_t offset) { return IndexHasSeparatorAt(offset); },
        [this](const parvane::sources::SeparatorCandidate& candidate) {
          if (Observer()) {
            Observer()->SeparatorSuspected(
                *this, {candidate.offset, engine::SuspiciousSeparatorReason::kTakenAsText,
                        candidate.line.substr(0, kReportedLineLimit), true});
          }
        });
    _judged.emplace(*_judge);
    _cut = Cut::kStrict;
  }
  if (wishes->anyBeginning) PassOverBeginning();
}

void MBOXAssetFolder::PassOverBeginning() {
  using parvane::sources::Beginning;
  const std::span<const char> start = _mboxFileStreamP->Buffer();
  const auto beginning = parvane::sources::BeginningOf({start.data(), start.size()});
  if (beginning.kind == Beginning::kMmdf) _cut = Cut::kMmdf;
  if (beginning.kind != Beginning::kMark && beginning.kind != Beginning::kText) return;
  _mboxFileStreamP->Skip(beginning.separator);
  std::string line;
  parvane::sources::LineCursor(*_mboxFileStreamP).SkipLine(line);
  if (_judge) _judge->Begins(line);
  _nextSeparator = beginning.separator;
  if (Observer()) {
    Observer()->BeginningPassedOver(*this, beginning.separator, beginning.kind == Beginning::kText);
  }
}

bool MBOXAssetFolder::AtEnd() {
  return _cut == Cut::kStrict ? _judged->AtEnd(*_mboxFileStreamP)
                              : _mboxFileStreamP->Buffer().empty();
}

std::uint64_t MBOXAssetFolder::Scan(parvane::sources::MessageBuffer& message) {
  // Who wants to know where a message stands sees the separators.
  parvane::sources::SeparatorWatcher* watcher = Observer() || StateWishes() ? this : nullptr;
  switch (_cut) {
    case Cut::kStrict:
      return _judged->Read(*_mboxFileStreamP, message, watcher);
    case Cut::kMmdf:
      return parvane::sources::ScanMmdfMessage(*_mboxFileStreamP, message, watcher);
    case Cut::kStandard:
      break;
  }
  return parvane::sources::ScanMboxMessage(*_mboxFileStreamP, message, watcher);
}

std::optional<MailAssetFolder::MessageOrigin> MBOXAssetFolder::ReadMessage(
    parvane::sources::MessageBuffer& message) {
  if (!EnsureOpen() || !_mboxFileStreamP) return std::nullopt;
  engine::SourceObserver* observer = Observer();
  // Nothing between two separators is no message; reading goes on behind it.
  do {
    _place.separator = _nextSeparator.value_or(0);
    _nextSeparator.reset();
    std::optional<Suspect> suspect = std::exchange(_suspect, std::nullopt);
    _place.begin = Scan(message);
    _place.end = _nextSeparator.value_or(_mboxFileStreamP->Position());
    if (suspect) TellOf(*suspect, message.view().substr(0, message.view().find('\r')));
  } while (message.empty() && message.lost() == 0 && !AtEnd());

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
  if (!Observer() || _cut != Cut::kStandard) return;
  const auto signs = parvane::sources::SignsOf(line, {}, afterEmptyLine);
  if (signs.dated && afterEmptyLine && (!signs.patch || _ofPatches)) return;
  _suspect = Suspect{offset, std::string(line.substr(0, kReportedLineLimit)), afterEmptyLine};
}

void MBOXAssetFolder::TellOf(const Suspect& suspect, std::string_view nextLine) {
  using engine::SuspiciousSeparatorReason;
  const auto signs = parvane::sources::SignsOf(suspect.line, nextLine, suspect.afterEmptyLine);
  const auto reason = signs.patch    ? SuspiciousSeparatorReason::kPatch
                      : !signs.dated ? SuspiciousSeparatorReason::kNoDate
                                     : SuspiciousSeparatorReason::kNoEmptyLineBefore;
  Observer()->SeparatorSuspected(*this, {suspect.offset, reason, suspect.line, !signs.Suffice()});
}

void MBOXAssetFolder::Close() {
  _mboxFileStreamP.reset();
  _judged.reset();
  _judge.reset();
  _suspect.reset();
}

void MBOXAssetFolder::ResetQuery() {
  MailAssetFolder::ResetQuery();
  _mboxFileOpened = false;
  _nextSeparator.reset();
  _readErrorReported = false;
}

}  // namespace QuelmarMIMEEngineCommon
