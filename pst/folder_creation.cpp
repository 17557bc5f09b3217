#include "pst/folder_creation.h"

#include "convert/properties/mapi_properties.h"
#include "mapi/constants.h"
#include "mapi/tags.h"

namespace parvane::pst {

using namespace QuelmarMIMEEngineCommon;

const char16_t* ContainerClass(AssetFolderType type) {
  switch (type) {
    case kAssetFolderTypeAppointment:
      return u"IPF.Appointment";
    case kAssetFolderTypeContact:
      return u"IPF.Contact";
    case kAssetFolderTypeEmail:
      return u"IPF.Note";
    default:
      return nullptr;
  }
}

mapi::IMAPIFolder* OpenOrCreateFolder(mapi::IMAPIFolder& parent, const std::u16string& name,
                                      const char16_t* comment, mapi::HRESULT* result) {
  mapi::IMAPIFolder* folder = nullptr;
  const mapi::HRESULT created = parent.CreateFolder(
      mapi::FOLDER_GENERIC, mapi::ToTString(name.c_str()), mapi::ToTString(comment), nullptr,
      mapi::MAPI_UNICODE | mapi::OPEN_IF_EXISTS, &folder);
  if (result) *result = created;
  return folder;
}

void SetContainerClass(mapi::IMAPIFolder& folder, const char16_t* containerClass,
                       mapi::ULONG saveFlags) {
  OrvMAPIUtilities::SetPropString(&folder, mapi::PR_CONTAINER_CLASS_W, containerClass);
  folder.SaveChanges(saveFlags);
}

}  // namespace parvane::pst
