// In a program that is built without the window.
#include "app/app.h"

namespace parvane::app {

bool IsBuiltIn() { return false; }

int RunApp(const Options&) { return 2; }

}  // namespace parvane::app
