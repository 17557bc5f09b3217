// What a conversion would do, told from reading alone.
#pragma once

#include "desk/conversion_record.h"
#include "desk/options.h"
#include "desk/run_observer.h"

namespace parvane::desk {

// As Convert, and writes nothing but the logs and the report. Without a destination it is about
// none.
ConversionRecord Scan(const ConvertOptions& options, RunObserver& observer);

}  // namespace parvane::desk
