// The steps of making a folder in a PST.
#pragma once

#include <string>

#include "engine/values.h"
#include "mapi/folder.h"

namespace parvane::pst {

// The class of folders for appointments, contacts and mail; null for every other type.
const char16_t* ContainerClass(QuelmarMIMEEngineCommon::AssetFolderType type);

// A folder of that name under `parent`, opened when there is one already; the caller owns it. Null
// when the store refuses; `result` takes its answer.
mapi::IMAPIFolder* OpenOrCreateFolder(mapi::IMAPIFolder& parent, const std::u16string& name,
                                      const char16_t* comment, mapi::HRESULT* result = nullptr);

// Writes the folder's class and saves it with `saveFlags`.
void SetContainerClass(mapi::IMAPIFolder& folder, const char16_t* containerClass,
                       mapi::ULONG saveFlags);

}  // namespace parvane::pst
