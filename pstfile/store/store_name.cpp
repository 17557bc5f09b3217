#include "pstfile/store/store_name.h"

#include "pstfile/store/pst_store.h"

namespace parvane::pstfile {

using platform::FileSystem;
using platform::Status;

Status RenameStore(FileSystem& files, std::u16string_view path, std::u16string_view was,
                   std::u16string_view name) {
  auto store = PstStore::Open(files, path, StoreOpenMode::kReadWrite);
  if (!store.ok()) return store.status();
  auto properties = (*store)->OpenStoreProperties();
  if (!properties.ok()) return properties.status();
  if (auto now = properties->Text(tags::kDisplayName); !now.ok() || *now != was) return {};
  PropertyList changes;
  changes.SetText(tags::kDisplayName, name);
  Status renamed = (*store)->ChangeStoreProperties(changes);
  const Status closed = (*store)->Close();
  return renamed.ok() ? closed : renamed;
}

}  // namespace parvane::pstfile
