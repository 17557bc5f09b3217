// Another process of this program, started by it: no shell, no server in between.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/status.h"

namespace parvane::platform {

class ChildProcess {
 public:
  // This program with these arguments (each as PathToNative gives it). It reads nothing, what it
  // writes to standard output goes nowhere, and what it writes to standard error to `messages`, a
  // file that is made: it fails where there is one. Ctrl-C on the terminal does not reach it.
  static Result<ChildProcess> Start(const std::vector<std::string>& arguments,
                                    std::u16string_view messages);
  ChildProcess(ChildProcess&&) noexcept;
  ChildProcess& operator=(ChildProcess&&) noexcept;
  // It goes on by itself, if it has not ended.
  ~ChildProcess();

  // The exit code once it has ended, 128 and the signal's number when a signal ended it; nothing
  // while it runs. Does not wait.
  std::optional<int> Poll();
  // Asks it to stop, as Ctrl-C does.
  void Interrupt();

 private:
  struct System;
  explicit ChildProcess(std::unique_ptr<System> system);
  std::unique_ptr<System> _system;
};

// The processors that this process may use, which may be fewer than the machine has (taskset, a
// container's set of them); at least 1.
unsigned ProcessorCount();
// Lets others work for so long.
void Sleep(unsigned milliseconds);

}  // namespace parvane::platform
