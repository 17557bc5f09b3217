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
#include "sources/stores/packed/packed_mail_store.h"
#include "sources/stores/packed/recognition.h"

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
    case SourceKind::kArchive:
      return CreatePackedSource({diskPath.value_or(u"")}, engine::LabelUse::kOff);
    case SourceKind::kTakeout:
      return CreatePackedSource({diskPath.value_or(u"")}, engine::LabelUse::kFolders);
  }
  return nullptr;
}

std::unique_ptr<IAssetStore> CreateLetters(std::vector<std::u16string> files) {
  PrepareErrorDump();
  return std::make_unique<sources::LetterStore>(std::move(files));
}

bool HasMailAnywhere(std::u16string_view path) {
  return sources::LookAtBeginning(path) != sources::Beginning::kOther;
}

std::unique_ptr<IAssetStore> CreatePackedSource(std::vector<std::u16string> paths,
                                                engine::LabelUse labels) {
  PrepareErrorDump();
  return std::make_unique<sources::PackedMailStore>(std::move(paths), labels);
}

platform::Result<std::optional<SourceKind>> PackedSourceAt(std::u16string_view path) {
  const auto kind = sources::LookAtPacked(path);
  if (!kind.ok()) return kind.status();
  if (*kind == sources::PackedKind::kNone) return std::optional<SourceKind>();
  return std::optional(*kind == sources::PackedKind::kArchive ? SourceKind::kArchive
                                                              : SourceKind::kTakeout);
}

}  // namespace parvane::factory
