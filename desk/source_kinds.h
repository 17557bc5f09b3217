// Of what kind the mail in a folder is, by what was found there (cli/folder_evidence.h).
#pragma once

#include <optional>

#include "desk/folder_evidence.h"
#include "factory/source_factory.h"

namespace parvane::desk {

// `from` is what the user says of all sources; none: nothing.
bool IsForMbox(const FolderEvidence& evidence, std::optional<factory::SourceKind> from);
bool IsForAppleMail(const FolderEvidence& evidence, std::optional<factory::SourceKind> from);
// Of a folder that is neither a profile nor one of .mbox files; none: there is no mail in it.
std::optional<factory::SourceKind> KindOf(const FolderEvidence& evidence);
// Of all that was found in a folder, when the user says nothing.
std::optional<factory::SourceKind> KindOfTree(const FolderEvidence& evidence);

}  // namespace parvane::desk
