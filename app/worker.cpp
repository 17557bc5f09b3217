#include "app/worker.h"

#include <utility>

#include "app/json.h"

namespace parvane::app {
namespace {

constexpr std::size_t kMostWaiting = 32;

class RunningUntilHere {
 public:
  explicit RunningUntilHere(std::atomic<bool>& running) : _running(running) {}
  ~RunningUntilHere() { _running = false; }
  RunningUntilHere(const RunningUntilHere&) = delete;
  RunningUntilHere& operator=(const RunningUntilHere&) = delete;

 private:
  std::atomic<bool>& _running;
};

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
  Question question;
  std::unique_lock lock(_mutex);
  if (_running) throw Busy("a conversion is at work; please wait until it is done");
  if (_ends || _asked.size() >= kMostWaiting) throw Busy("too much at once; please try again");
  _asked.push_back({task, &question});
  _wanted = true;
  _changed.notify_all();
  _answered.wait(lock, [&question] { return question.done; });
  if (question.dropped) throw Busy("the program ends");
  if (question.error) std::rethrow_exception(question.error);
}

void Worker::Begin(Task run) {
  {
    const std::lock_guard lock(_mutex);
    if (_running || _ends) throw Busy("a conversion is at work already");
    _running = true;
    _wanted = true;
    _asked.push_back({[this, run = std::move(run)] {
                        // However it ends: nothing else would be done any more.
                        const RunningUntilHere over(_running);
                        run();
                      },
                      nullptr});
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
    if (_asked.empty()) {
      Task task = std::move(_later.front());
      _later.pop_front();
      Do({std::move(task), nullptr}, lock);
    } else {
      Asked asked = std::move(_asked.front());
      _asked.pop_front();
      _wanted = !_asked.empty();
      Do(std::move(asked), lock);
    }
  }
  Drop();
}

void Worker::Do(Asked asked, std::unique_lock<std::mutex>& lock) {
  lock.unlock();
  std::exception_ptr error;
  try {
    asked.task();
  } catch (...) {
    error = std::current_exception();
  }
  asked.task = nullptr;
  lock.lock();
  if (asked.question) {
    asked.question->error = error;
    asked.question->done = true;
    _answered.notify_all();
  }
}

// Who waits for one of these is told that nothing came of it.
void Worker::Drop() {
  for (const Asked& asked : _asked) {
    if (asked.question) asked.question->done = asked.question->dropped = true;
  }
  _asked.clear();
  _later.clear();
  _answered.notify_all();
}

}  // namespace parvane::app
