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
  Become(State::kEnds);
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
  Become(State::kBusy);
  return true;
}

void BackgroundTask::Wait() noexcept {
  std::unique_lock lock(_mutex);
  _changed.wait(lock, [this] { return _state != State::kBusy; });
}

void BackgroundTask::Become(State state) {
  {
    const std::lock_guard lock(_mutex);
    _state = state;
  }
  _changed.notify_one();
}

void BackgroundTask::Work() {
  while (true) {
    {
      std::unique_lock lock(_mutex);
      _changed.wait(lock, [this] { return _state != State::kIdle; });
      if (_state == State::kEnds) return;
    }
    _work();
    Become(State::kIdle);
  }
}

}  // namespace parvane::platform
