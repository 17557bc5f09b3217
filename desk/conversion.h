// One conversion, as every front end runs it.
#pragma once

#include "desk/conversion_record.h"
#include "desk/options.h"
#include "desk/run_observer.h"

namespace parvane::desk {

// Whatever happens on the way, the account of it is returned, and written to the logs and the
// report that were asked for. One run at a time in a process, on the thread that calls; MAPI's
// entry points are chosen before.
ConversionRecord Convert(const ConvertOptions& options, RunObserver& observer);

}  // namespace parvane::desk
