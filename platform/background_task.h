// A thread beside the caller's for one piece of work at a time. What it works on is nobody else's
// until Wait has returned; what went before Start is seen by the work, and what the work did by the
// caller after Wait.
//
// The thread gets no signals: they find the program's own threads as if it were not there.
//
// Not thread-safe itself: it belongs to one caller. Starting work that the thread waits for costs
// a few microseconds, so it pays for pieces that take a hundred.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace parvane::platform {

class BackgroundTask {
 public:
  // Begins no thread before the first Start.
  BackgroundTask() = default;
  // Waits.
  ~BackgroundTask();
  BackgroundTask(const BackgroundTask&) = delete;
  BackgroundTask& operator=(const BackgroundTask&) = delete;

  // Whether this process may use more than one processor: with one there is nothing to gain.
  static bool IsWorthwhile();

  // Waits, and begins `work`, which must not throw. It is kept until the next Start, so that
  // nothing is destroyed on the thread. False, and nothing is done: there is no thread to be had.
  bool Start(std::function<void()> work);
  // Returns when nothing is being done.
  void Wait() noexcept;

 private:
  enum class State { kIdle, kBusy, kEnds };
  void Become(State state);
  void Work();

  // Whoever waits for a change waits alone: the thread while it is idle, the caller while it is
  // busy. (An atomic's own wait would do, did the standard library's not sleep through a change at
  // times.)
  std::mutex _mutex;
  std::condition_variable _changed;
  State _state = State::kIdle;
  std::function<void()> _work;
  std::thread _thread;
};

}  // namespace parvane::platform
