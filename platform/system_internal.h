// What the common code of this room asks of the folder of the system it runs on.
#pragma once

namespace parvane::platform {

// The system's ANSI code page.
unsigned SystemAnsiCodePage();

}  // namespace parvane::platform
