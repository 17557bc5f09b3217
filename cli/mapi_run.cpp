#include "cli/mapi_run.h"

#include <fmt/format.h>

#include "engine/factory/store_factory.h"

namespace parvane::cli {

using QuelmarMIMEEngineCommon::MAPISystemUtilities;

MapiRun::MapiRun() : _result(MAPISystemUtilities::MAPIInitialize()) {}

MapiRun::~MapiRun() {
  if (_result >= 0) MAPISystemUtilities::MAPIUninitialize();
}

platform::Status MapiRun::status() const {
  if (_result >= 0) return {};
  return {platform::StatusCode::kUnsupported,
          fmt::format("MAPI could not be started (0x{:08X})", static_cast<std::uint32_t>(_result))};
}

}  // namespace parvane::cli
