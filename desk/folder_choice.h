// Which folders of the plan somebody wants: --folder, --exclude, --skip-junk.
#pragma once

#include "desk/folder_plan.h"
#include "desk/options.h"
#include "platform/status.h"

namespace parvane::desk {

// Leaves the others out of the plan. Fails, and names what may have been meant, for a pattern that
// matches no folder, and when none is left.
platform::Status ChooseFolders(const SourceOptions& options, FolderPlan& plan);

}  // namespace parvane::desk
