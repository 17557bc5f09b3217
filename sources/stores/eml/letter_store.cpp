#include "sources/stores/eml/letter_store.h"

#include "engine/callbacks.h"
#include "engine/file_kinds.h"
#include "platform/path.h"
#include "sources/state/header_state.h"

namespace parvane::sources {

using namespace QuelmarMIMEEngineCommon;

engine::MessageState LetterFolder::StateOf(const StateHeaders& headers,
                                           const engine::StateWishes& wishes) {
  engine::MessageState state;
  ReadHeaderState(headers, MailboxWriter::kLetter, wishes, state);
  return state;
}

LetterStore::LetterStore(std::vector<std::u16string> files)
    : LetterStore(NullableString(platform::ParentOfPath(files.front()))) {
  _files = std::move(files);
}

OperationResultCode LetterStore::OpenStore(IProgressPresenter* progressPresenter,
                                           ICancelable* cancelable, bool create, ILogger* logger) {
  if (_files.empty())
    return DirectoryStore::OpenStore(progressPresenter, cancelable, create, logger);
  _storeRootAssetFolder = MakeFolder<Folder>(std::nullopt, std::nullopt, this, nullptr);
  const std::u16string directory = _storeRootDiskPath.value_or(u"");
  Folder* folder =
      MakeFolderFor(directory, platform::FileNameOfPath(directory), _storeRootAssetFolder);
  for (const std::u16string& file : _files) {
    if (cancelable && cancelable->Cancel()) return OperationResultCode::Canceled;
    folder->AddFile(platform::FileNameOfPath(file),
                    platform::FileSystem::Default().Inspect(file).size);
  }
  return OperationResultCode::Completed;
}

DirectoryStore::Folder* LetterStore::MakeFolderFor(std::u16string_view directory,
                                                   std::u16string_view name,
                                                   AssetFolderBase* parent) {
  return MakeFolder<LetterFolder>(std::u16string(directory), std::u16string(name), this, parent);
}

void LetterStore::AddMessages(std::u16string_view directory, const Entries& entries, Folder& folder,
                              SourceWalk& walk) {
  for (const platform::DirectoryEntry& entry : entries) {
    if (entry.kind != platform::FileKind::kFile) continue;
    const std::u16string path = platform::JoinPath(directory, entry.name);
    if (engine::IsLetter(entry)) {
      folder.AddFile(entry.name, entry.size);
    } else if (engine::HasExtension(entry.name, u".eml")) {
      walk.Skipped(path, engine::SkipReason::kResourceForkCompanion);
    } else {
      walk.SkippedByName(path);
    }
  }
}

}  // namespace parvane::sources
