#include "parvane/mapi_choice.h"

#include "mapi/builtin_entry_points.h"
#include "mapi/system_entry_points.h"

namespace parvane {

platform::Status ChooseMapi(desk::MapiChoice choice) {
  if (choice == desk::MapiChoice::kBuiltin) {
    mapi::SelectEntryPoints(mapi::BuiltinEntryPoints());
    return {};
  }
  const auto system = mapi::SystemEntryPoints();
  if (!system.ok()) return {system.status().code(), "--mapi outlook: " + system.status().message()};
  mapi::SelectEntryPoints(*system);
  return {};
}

}  // namespace parvane
