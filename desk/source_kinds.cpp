#include "desk/source_kinds.h"

namespace parvane::desk {

using factory::SourceKind;

bool IsForMbox(const FolderEvidence& evidence, std::optional<SourceKind> from) {
  return from == SourceKind::kMbox ||
         (!from && evidence.mboxFiles && !(evidence.mailFiles && evidence.indexFiles) &&
          !evidence.profileRoot);
}

bool IsForAppleMail(const FolderEvidence& evidence, std::optional<SourceKind> from) {
  const bool thunderbird = evidence.profileRoot || evidence.indexFiles || evidence.subfolders;
  return from == SourceKind::kAppleMail || (!from && evidence.appleMail && !thunderbird);
}

std::optional<SourceKind> KindOf(const FolderEvidence& evidence) {
  using engine::MessageLayout;
  if (evidence.mailFiles || evidence.subfolders) return SourceKind::kThunderbird;
  // Indexes stand beside maildirs too.
  if (evidence.maildirs || evidence.layout == MessageLayout::kMaildir) return SourceKind::kMaildir;
  if (evidence.indexFiles) return SourceKind::kThunderbird;
  if (evidence.layout == MessageLayout::kMh) return SourceKind::kMh;
  if (evidence.layout == MessageLayout::kLetters) return SourceKind::kEml;
  return std::nullopt;
}

std::optional<SourceKind> KindOfTree(const FolderEvidence& evidence) {
  if (evidence.profileRoot) return SourceKind::kThunderbird;
  if (IsForAppleMail(evidence, std::nullopt)) return SourceKind::kAppleMail;
  return IsForMbox(evidence, std::nullopt) ? SourceKind::kMbox : KindOf(evidence);
}

}  // namespace parvane::desk
