// What the program's exit status tells the caller. Scripts rely on these numbers.
#pragma once

namespace parvane::desk {

enum class ExitCode : int {
  kDone = 0,
  kMailLeftBehind = 1,  // finished, but items failed or mail was passed over
  kUsage = 2,
  kCouldNotFinish = 3,  // nothing or not everything could be done; one line says why
  kInterrupted = 130,
};

}  // namespace parvane::desk
