#include "factory/source_factory.h"

#include <optional>
#include <utility>

#include "factory/error_dump.h"
#include "sources/mailbox_cutting.h"
#include "sources/mbox_asset_store.h"
#include "sources/profile_asset_store.h"
#include "sources/stores/apple/apple_mail_store.h"
#include "sources/stores/eml/letter_store.h"
#include "sources/stores/maildir/maildir_store.h"
#include "sources/stores/mh/mh_store.h"

namespace parvane::factory {

using namespace QuelmarMIMEEngineCommon;

std::unique_ptr<IAssetStore> CreateSource(SourceKind kind, NullableString diskPath) {
  PrepareErrorDump();
  switch (kind) {
    case SourceKind::kMbox:
      return std::make_unique<MBOXAssetStore>(std::move(diskPath), std::nullopt);
    case SourceKind::kThunderbird:
      return std::make_unique<TBAssetStore>(std::move(diskPath), std::nullopt);
    case SourceKind::kAppleMail:
      return std::make_unique<AppleMailStore>(std::move(diskPath));
    case SourceKind::kMaildir:
      return std::make_unique<sources::MaildirStore>(std::move(diskPath));
    case SourceKind::kMh:
      return std::make_unique<sources::MhStore>(std::move(diskPath));
    case SourceKind::kEml:
      return std::make_unique<sources::LetterStore>(std::move(diskPath));
  }
  return nullptr;
}

bool HasMailAnywhere(std::u16string_view path) {
  return sources::LookAtBeginning(path) != sources::Beginning::kOther;
}

}  // namespace parvane::factory
