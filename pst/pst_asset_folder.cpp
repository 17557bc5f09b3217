#include "pst/pst_asset_folder.h"

#include <utility>

#include "mapi/constants.h"
#include "mapi/tags.h"
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
  const auto* store = dynamic_cast<const AssetStoreBase*>(_ownerStore);
  if (store && store->ObserverOfDestination())
    store->ObserverOfDestination()->MapiAnswered(step, result);
}

IAssetFolderMutable* PSTMAPIAssetFolderMutable::CreateAssetFolder(std::u16string_view folderName,
                                                                  AssetFolderType folderType) {
  for (IAssetFolderMutable* folder : _subFolders)
    if (parvane::platform::EqualsIgnoreCase(folder->FolderName().value_or(u""), folderName))
      return folder;

  auto* store = dynamic_cast<AssetStoreBase*>(_ownerStore);
  if (!_mapiFolderP || !store) return nullptr;
  const std::u16string name(folderName);
  HRESULT result = 0;
  IMAPIFolder* created =
      parvane::pst::OpenOrCreateFolder(*_mapiFolderP, name, kFolderComment, &result);
  Tell(parvane::engine::DestinationStep::kCreateFolder, result);
  if (!created) return nullptr;
  parvane::pst::SetContainerClass(*created, ContainerClassOf(folderType), 0);
  return store->MakeFolder<PSTMAPIAssetFolderMutable>(_mapiSessionP, created, name, folderType,
                                                      _ownerStore, this);
}

}  // namespace QuelmarMIMEEngineCommon
