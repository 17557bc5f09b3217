#include "pst/pst_asset_folder.h"

#include <utility>

#include "mapi/constants.h"
#include "mapi/refusals.h"
#include "platform/text.h"
#include "pst/folder_creation.h"

namespace QuelmarMIMEEngineCommon {

using namespace parvane::mapi;

namespace {

constexpr const char16_t* kFolderComment = u"This folder was imported using Quelmar Parvane";

// Mail is the class of every folder that is not for appointments or contacts.
const char16_t* ContainerClassOf(AssetFolderType type) {
  const char16_t* known = parvane::pst::ContainerClass(type);
  return known ? known : u"IPF.Note";
}

}  // namespace

PSTMAPIAssetFolder::PSTMAPIAssetFolder(IMAPISession* session, IMAPIFolder* mapiFolder,
                                       NullableString folderName, AssetFolderType folderType,
                                       IAssetStore* ownerStore, AssetFolderBase* parentFolder)
    : AssetFolderBase(0, std::move(folderName), std::nullopt, ownerStore, parentFolder),
      _mapiSessionP(session),
      _mapiFolderP(mapiFolder) {
  _folderType = folderType;
}

PSTMAPIAssetFolder::~PSTMAPIAssetFolder() { PSTMAPIAssetFolder::Release(); }

void PSTMAPIAssetFolder::Release() {
  if (_mapiFolderP) std::exchange(_mapiFolderP, nullptr)->Release();
  _mapiSessionP = nullptr;
  AssetFolderBase::Release();
}

void PSTMAPIAssetFolderMutable::Tell(parvane::engine::DestinationStep step, HRESULT result) const {
  const AssetStoreBase* store = EngineStore();
  if (store && store->ObserverOfDestination())
    store->ObserverOfDestination()->MapiAnswered(step, result);
}

IAssetFolderMutable* PSTMAPIAssetFolderMutable::FindSubFolder(std::u16string_view folderName) {
  // Subfolders are appended, and folders live as long as their store: whatever else happened to the
  // list, the last one indexed has moved.
  const bool stale =
      _indexed > _subFolders.size() || (_indexed > 0 && _subFolders[_indexed - 1] != _lastIndexed);
  if (stale) {
    _byName.clear();
    _indexed = 0;
  }
  for (; _indexed < _subFolders.size(); ++_indexed) {
    _lastIndexed = _subFolders[_indexed];
    _byName.emplace(parvane::platform::FoldCase(_lastIndexed->FolderName().value_or(u"")),
                    _subFolders[_indexed]);
  }
  const auto found = _byName.find(parvane::platform::FoldCase(folderName));
  return found == _byName.end() ? nullptr : found->second;
}

IAssetFolderMutable* PSTMAPIAssetFolderMutable::CreateAssetFolder(std::u16string_view folderName,
                                                                  AssetFolderType folderType) {
  if (IAssetFolderMutable* known = FindSubFolder(folderName)) return known;
  auto* store = dynamic_cast<AssetStoreBase*>(_ownerStore);
  if (!_mapiFolderP || !store) return nullptr;
  const std::u16string name(folderName);
  HRESULT result = 0;
  IMAPIFolder* created =
      parvane::pst::OpenOrCreateFolder(*_mapiFolderP, name, kFolderComment, &result);
  Tell(parvane::engine::DestinationStep::kCreateFolder, result);
  if (!created) return nullptr;
  RefusalLog refusals;
  parvane::pst::SetContainerClass(*created, ContainerClassOf(folderType), 0);
  auto* folder = store->MakeFolder<PSTMAPIAssetFolderMutable>(_mapiSessionP, created, name,
                                                              folderType, _ownerStore, this);
  const std::vector<Refusal> refused = refusals.Take();
  if (store->ObserverOfDestination() && !refused.empty())
    store->ObserverOfDestination()->FolderRefused(*folder, refused);
  return folder;
}

}  // namespace QuelmarMIMEEngineCommon
