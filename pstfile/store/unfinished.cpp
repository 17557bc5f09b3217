#include "pstfile/store/unfinished.h"

#include <array>

#include "pstfile/store/pst_store.h"

namespace parvane::pstfile {

using platform::FileSystem;
using platform::Result;
using platform::Status;

Result<bool> IsUnfinished(FileSystem& files, std::u16string_view path) {
  auto store = PstStore::Open(files, path, StoreOpenMode::kRead);
  if (!store.ok()) return store.status();
  auto properties = (*store)->OpenStoreProperties();
  if (!properties.ok()) return properties.status();
  if (!properties->Has(kUnfinishedMark)) return false;
  auto text = properties->Text(kUnfinishedMark);
  if (!text.ok()) return text.status();
  return *text == kUnfinishedText;
}

Status MarkFinished(FileSystem& files, std::u16string_view path, std::u16string_view wasNamed,
                    std::u16string_view name) {
  auto store = PstStore::Open(files, path, StoreOpenMode::kReadWrite);
  if (!store.ok()) return store.status();
  auto properties = (*store)->OpenStoreProperties();
  if (!properties.ok()) return properties.status();
  PropertyList changes;
  if (auto now = properties->Text(tags::kDisplayName);
      wasNamed != name && now.ok() && *now == wasNamed)
    changes.SetText(tags::kDisplayName, name);
  if (changes.empty() && !properties->Has(kUnfinishedMark)) return {};
  const std::array<std::uint16_t, 1> mark{kUnfinishedMark.Id()};
  Status removed = (*store)->ChangeStoreProperties(changes, mark);
  const Status closed = (*store)->Close();
  return removed.ok() ? closed : removed;
}

}  // namespace parvane::pstfile
