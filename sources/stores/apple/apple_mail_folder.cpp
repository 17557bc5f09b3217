#include "sources/stores/apple/apple_mail_folder.h"

#include <algorithm>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "mime/byte_slice.h"
#include "mime/mime_message2.h"
#include "platform/file.h"
#include "platform/memory_input_stream.h"
#include "platform/path.h"
#include "platform/text.h"
#include "sources/emlx_file.h"
#include "sources/message_file_reading.h"
#include "sources/state/emlx_state.h"
#include "sources/stores/apple/emlx_name.h"
#include "sources/stores/apple/left_out_parts.h"
#include "sources/stores/apple/part_files.h"

namespace QuelmarMIMEEngineCommon {

namespace engine = parvane::engine;
namespace platform = parvane::platform;
namespace sources = parvane::sources;
using platform::FileSystem;
using platform::Status;
using sources::MessageBuffer;

namespace {

std::string NameOf(const sources::LeftOutPart& part) {
  return part.name.empty() ? "part " + part.number : platform::Utf16ToUtf8(part.name);
}

}  // namespace

AppleMailFolder::AppleMailFolder(NullableString directory, NullableString folderName,
                                 IAssetStore* ownerStore, AssetFolderBase* parentFolder)
    : MessageFileFolder(std::move(directory), std::move(folderName), ownerStore, parentFolder) {
  _folderType = kAssetFolderTypeEmail;
}

Status AppleMailFolder::ReadFile(const std::u16string& path, MessageBuffer& message) {
  _properties.clear();
  _remarks.clear();
  try {
    return ReadUnguarded(path, message);
  } catch (const std::bad_alloc&) {
    message.Lose(std::max<std::uint64_t>(FileSystem::Default().Inspect(path).size, 1));
    return {};
  }
}

Status AppleMailFolder::ReadUnguarded(const std::u16string& path, MessageBuffer& message) {
  const auto file =
      platform::ReadWholeFile(FileSystem::Default(), path, Tessary::MimeLimits::kMessageBytes);
  if (!file.ok()) return file.status();
  const auto pieces = SplitEMLX(*file);
  if (!pieces.ok()) return pieces.status();
  if (StateWishes()) _properties = ReadEMLXProperties(pieces->list);
  if (pieces->missing > 0) {
    _remarks.push_back({engine::RemarkKind::kFetchedInPart,
                        {},
                        "its file ends " + std::to_string(pieces->missing) + " bytes too early"});
  }
  if (sources::MayLackParts(pieces->message)) {
    PutPartsBack(path, pieces->message, message);
  } else {
    sources::ReadMessageFile(*platform::MemoryInputStream(pieces->message), message);
  }
  return {};
}

void AppleMailFolder::PutPartsBack(const std::u16string& path, std::string_view text,
                                   MessageBuffer& message) {
  const auto lines = std::make_shared<MessageBuffer>();
  sources::ReadMessageFile(*platform::MemoryInputStream(text), *lines);
  if (lines->lost() > 0) return message.Lose(lines->lost());
  const sources::PartFiles files(platform::ParentOfPath(path),
                                 sources::EmlxName(platform::FileNameOfPath(path)).base);
  const auto find = [&](const sources::LeftOutPart& part) { return files.Find(part); };
  const sources::PutBack result =
      sources::PutPartsBack(Tessary::ByteSlice::Share(lines, lines->view()), find, message);
  constexpr auto kKind = engine::RemarkKind::kPartNotFetched;
  for (const sources::PutBack::Missing& missing : result.missing)
    _remarks.push_back({kKind, NameOf(missing.part), missing.why.message()});
  if (result.moreMissing > 0)
    _remarks.push_back({kKind, {}, "and " + std::to_string(result.moreMissing) + " more"});
}

void AppleMailFolder::LearnState(std::u16string_view, const engine::StateWishes&,
                                 engine::MessageState& state) {
  sources::LearnEmlxFlags(_properties, state);
}

void AppleMailFolder::LearnDateElsewhere(engine::MessageState& state) {
  sources::LearnEmlxDate(_properties, state);
}

}  // namespace QuelmarMIMEEngineCommon
