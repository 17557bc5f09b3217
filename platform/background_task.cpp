#include "platform/background_task.h"

#include <system_error>
#include <utility>

#include "platform/child_process.h"
#include "platform/system_internal.h"

namespace parvane::platform {

bool BackgroundTask::IsWorthwhile() { return ProcessorCount() > 1; }

BackgroundTask::~BackgroundTask() {
  if (!_thread.joinable()) return;
  Wait();
  _state.store(State::kEnds, std::memory_order_release);
  _state.notify_one();
  _thread.join();
}

bool BackgroundTask::Start(std::function<void()> work) {
  Wait();
  if (!_thread.joinable()) {
    try {
      _thread = ThreadWithoutSignals([this] { Work(); });
    } catch (const std::system_error&) {
      return false;
    }
  }
  _work = std::move(work);
  _state.store(State::kBusy, std::memory_order_release);
  _state.notify_one();
  return true;
}

void BackgroundTask::Wait() noexcept { _state.wait(State::kBusy, std::memory_order_acquire); }

void BackgroundTask::Work() {
  while (true) {
    _state.wait(State::kIdle, std::memory_order_acquire);
    if (_state.load(std::memory_order_acquire) == State::kEnds) return;
    _work();
    _state.store(State::kIdle, std::memory_order_release);
    _state.notify_one();
  }
}

}  // namespace parvane::platform
