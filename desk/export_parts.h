// Exports that come in several files, "takeout-20250101T120000Z-001.zip", "-002" and so on.
#pragma once

#include "desk/source_plan.h"

namespace parvane::desk {

// Adds to what is left behind the parts that lie beside those that were given, and were not given
// themselves: each part is an archive that can be read by itself, so that nothing else would tell
// of the mail in the others.
void NoteMissingParts(SourcePlan& plan);

}  // namespace parvane::desk
