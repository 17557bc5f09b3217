#include "sources/message_file_folder.h"

#include <utility>

#include "archives/archive_reader.h"
#include "platform/file.h"
#include "platform/path.h"
#include "sources/state/fallback_date.h"
#include "sources/state/header_state.h"

namespace QuelmarMIMEEngineCommon {

namespace engine = parvane::engine;
namespace platform = parvane::platform;
using parvane::sources::MessageBuffer;

namespace {

// Most messages are smaller.
constexpr std::size_t kReadSize = 64u << 10;

}  // namespace

MessageFileFolder::MessageFileFolder(NullableString directory, NullableString folderName,
                                     IAssetStore* ownerStore, AssetFolderBase* parentFolder)
    : MailAssetFolder(std::move(folderName), std::move(directory), ownerStore, parentFolder) {}

MessageFileFolder::~MessageFileFolder() { MessageFileFolder::Release(); }

void MessageFileFolder::AddFile(std::u16string_view path, std::uint64_t size) {
  _paths += path;
  _ends.push_back(_paths.size());
  _bytes += size;
  _folderType = kAssetFolderTypeEmail;
}

std::u16string_view MessageFileFolder::FileInHand() const {
  if (_next == 0) return {};
  const std::size_t begin = _next < 2 ? 0 : _ends[_next - 2];
  return std::u16string_view(_paths).substr(begin, _ends[_next - 1] - begin);
}

std::optional<MailAssetFolder::MessageOrigin> MessageFileFolder::ReadMessage(
    MessageBuffer& message) {
  while (_next < _ends.size()) {
    ++_next;
    std::u16string path = platform::JoinPath(FolderDiskPath().value_or(u""), FileInHand());
    platform::Status status = ReadFile(path, message);
    // As a full disk or a crash leaves files.
    if (status.ok() && message.empty() && message.lost() == 0)
      status = {platform::StatusCode::kCorrupt, "there is nothing in it"};
    if (status.ok()) return MessageOrigin{0, std::move(path)};
    message.clear();
    if (Observer()) Observer()->PathSkipped(path, engine::SkipReason::kUnreadable, status);
  }
  return std::nullopt;
}

platform::Result<std::unique_ptr<platform::InputStream>> MessageFileFolder::OpenFile(
    const std::u16string& path) {
  using parvane::archives::Packing;
  platform::FileSystem& files = platform::FileSystem::Default();
  auto stream = platform::OpenInputStream(files, path, kReadSize);
  if (!stream.ok()) return stream;
  const auto start = (*stream)->Buffer();
  switch (parvane::archives::PackingOf({start.data(), start.size()})) {
    case Packing::kNone:
    case Packing::kZip:
    case Packing::kTar:
      return stream;
    default:
      return parvane::archives::OpenDecompressed(files, path, kReadSize);
  }
}

platform::Status MessageFileFolder::ReadFile(const std::u16string& path, MessageBuffer& message) {
  auto stream = OpenFile(path);
  if (!stream.ok()) return stream.status();
  _start = parvane::sources::ReadMessageFile(**stream, message);
  return (*stream)->status();
}

engine::MessageState MessageFileFolder::StateOf(const parvane::sources::StateHeaders& headers,
                                                const engine::StateWishes& wishes) {
  engine::MessageState state;
  LearnState(FileInHand(), wishes, state);
  parvane::sources::ReadHeaderState(headers, parvane::sources::MailboxWriter::kOther, wishes,
                                    state);
  return state;
}

void MessageFileFolder::LearnDateElsewhere(engine::MessageState& state) {
  if (!_start.separator.empty()) parvane::sources::LearnDateOfSeparator(_start.separator, state);
}

void MessageFileFolder::ReportBreak(const platform::Status& why) {
  if (Observer()) Observer()->ReadFailed(*this, 0, why);
}

void MessageFileFolder::ResetQuery() {
  MailAssetFolder::ResetQuery();
  _next = 0;
}

}  // namespace QuelmarMIMEEngineCommon
