// What the common code of this room asks of the folder of the system it runs on.
#pragma once

#include <cstddef>
#include <span>

namespace parvane::platform {

// The system's ANSI code page.
unsigned SystemAnsiCodePage();
// Random bytes, one call of the system or more.
void FillRandomFromSystem(std::span<std::byte> bytes);

}  // namespace parvane::platform
