#include "app/worker.h"

#include <future>
#include <memory>
#include <utility>

#include "app/json.h"

namespace parvane::app {
namespace {

constexpr std::size_t kMostWaiting = 32;

Refusal Busy(const char* error) { return {409, "busy", error}; }

}  // namespace

Worker::Worker() : _thread([this] { Work(); }) {}

Worker::~Worker() {
  {
    const std::lock_guard lock(_mutex);
    _ends = true;
    _wanted = true;
  }
  _changed.notify_all();
  _thread.join();
}

void Worker::Ask(const Task& task) {
  // Shared, so that its end is safe whoever sees it first.
  const auto work = std::make_shared<std::packaged_task<void()>>(task);
  std::future<void> done = work->get_future();
  {
    const std::lock_guard lock(_mutex);
    if (_running) throw Busy("a conversion is at work; please wait until it is done");
    if (_ends || _asked.size() >= kMostWaiting) throw Busy("too much at once; please try again");
    _asked.emplace_back([work] { (*work)(); });
    _wanted = true;
  }
  _changed.notify_all();
  try {
    done.get();
  } catch (const std::future_error&) {
    throw Busy("the program ends");
  }
}

void Worker::Begin(Task run) {
  {
    const std::lock_guard lock(_mutex);
    if (_running || _ends) throw Busy("a conversion is at work already");
    _running = true;
    _wanted = true;
    _asked.emplace_back([this, run = std::move(run)] {
      run();
      _running = false;
    });
  }
  _changed.notify_all();
}

void Worker::Later(Task task) {
  {
    const std::lock_guard lock(_mutex);
    _later.push_back(std::move(task));
  }
  _changed.notify_all();
}

void Worker::Work() {
  std::unique_lock lock(_mutex);
  for (;;) {
    _changed.wait(lock, [this] { return _ends || !_asked.empty() || !_later.empty(); });
    if (_ends) break;
    std::deque<Task>& queue = _asked.empty() ? _later : _asked;
    Task task = std::move(queue.front());
    queue.pop_front();
    _wanted = !_asked.empty();
    lock.unlock();
    task();
    task = nullptr;
    lock.lock();
  }
  // Who waits for one of these is told that nothing came of it.
  _asked.clear();
  _later.clear();
}

}  // namespace parvane::app
