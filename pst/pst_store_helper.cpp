#include "pst/pst_store_helper.h"

#include <vector>

#include "convert/properties/mapi_properties.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/tags.h"
#include "pst/folder_creation.h"

namespace QuelmarMIMEEngineCommon {

using namespace parvane::mapi;

namespace {

constexpr const char16_t* kFolderComment = u"This folder was imported using Lindrel";
constexpr ULONG kSaveFlags = 4;

// Published as PidTagIpm...EntryId.
ULONG SpecialFolderTag(AssetFolderType type) {
  switch (type) {
    case kAssetFolderTypeAppointment:
      return PropTag(PT_BINARY, 0x36D0);
    case kAssetFolderTypeContact:
      return PropTag(PT_BINARY, 0x36D1);
    case kAssetFolderTypeJournal:
      return PropTag(PT_BINARY, 0x36D2);
    case kAssetFolderTypeStickyNote:
      return PropTag(PT_BINARY, 0x36D3);
    case kAssetFolderTypeTask:
      return PropTag(PT_BINARY, 0x36D4);
    default:
      return 0;
  }
}

}  // namespace

IMAPIFolder* PSTStoreHelper::CreateMAPIFolder(IAssetFolder* folder, IMAPIFolder* root) {
  std::vector<IAssetFolder*> chain;
  for (; folder; folder = folder->ParentFolder()) chain.push_back(folder);

  IMAPIFolder* parent = root;
  for (auto member = chain.rbegin(); parent && member != chain.rend(); ++member) {
    IMAPIFolder* created = parvane::pst::OpenOrCreateFolder(
        *parent, (*member)->FolderName().value_or(u""), kFolderComment);
    parent->SaveChanges(0);
    const char16_t* containerClass = parvane::pst::ContainerClass((*member)->FolderType());
    if (created && containerClass) parvane::pst::SetContainerClass(*created, containerClass, 0);
    if (parent != root) parent->Release();
    parent = created;
  }
  return parent;
}

IMAPIFolder* PSTStoreHelper::CreateSpecialFolder(IMAPIFolder* parent, AssetFolderType folderType,
                                                 const std::u16string& name) {
  if (!parent) return nullptr;
  IMAPIFolder* folder = parvane::pst::OpenOrCreateFolder(*parent, name, kFolderComment);
  if (!folder) return nullptr;
  if (const char16_t* containerClass = parvane::pst::ContainerClass(folderType))
    parvane::pst::SetContainerClass(*folder, containerClass, kSaveFlags);

  SizedSPropTagArray<1> columns = {1, {PR_ENTRYID}};
  ULONG count = 0;
  MapiBuffer<SPropValue> properties;
  folder->GetProps(columns.get(), MAPI_UNICODE, &count, properties.Put());
  if (properties && count > 0 && properties[0].ulPropTag == PR_ENTRYID) {
    SPropValue special{};
    special.ulPropTag = SpecialFolderTag(folderType);
    special.Value.bin = properties[0].Value.bin;
    OrvMAPIUtilities::SetProperties(*parent, 1, &special);
    parent->SaveChanges(kSaveFlags);
  }
  return folder;
}

}  // namespace QuelmarMIMEEngineCommon
