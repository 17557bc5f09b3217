// What the common code of this room asks of the folder of the system it runs on.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <thread>

namespace parvane::platform {

// The system's ANSI code page.
unsigned SystemAnsiCodePage();
// A thread that the process's signals do not interrupt. Throws what std::thread does.
std::thread ThreadWithoutSignals(std::function<void()> body);
// Random bytes, one call of the system or more.
void FillRandomFromSystem(std::span<std::byte> bytes);

}  // namespace parvane::platform
