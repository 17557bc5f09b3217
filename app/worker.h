// The one thread on which all mail is read and written: the engine and MAPI know no other.
//
// What is asked of it is done in turn. While a conversion or a scan goes on, nothing else is: who
// asks is told so. What is to be done in the background waits until nobody asks for anything.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

namespace parvane::app {

class Worker {
 public:
  using Task = std::function<void()>;

  Worker();
  // Waits for the run, if there is one, which should have been told to stop; what waits is dropped.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // Does it and returns when it is done; what it throws is thrown here. Throws a Refusal when a run
  // goes on, or too many wait.
  void Ask(const Task& task);
  // Begins a run. Throws a Refusal when there is one.
  void Begin(Task run);
  void Later(Task task);

  bool IsRunning() const { return _running; }
  // Somebody waits: what is done in the background should come to a pause.
  bool IsWanted() const { return _wanted; }

 private:
  // Somebody who waits, or nobody.
  struct Question {
    bool done = false, dropped = false;
    std::exception_ptr error;
  };
  struct Asked {
    Task task;
    Question* question;
  };

  void Work();
  void Do(Asked asked, std::unique_lock<std::mutex>& lock);
  void Drop();

  std::mutex _mutex;
  std::condition_variable _changed, _answered;
  std::deque<Asked> _asked;
  std::deque<Task> _later;
  bool _ends = false;
  std::atomic<bool> _running{false}, _wanted{false};
  std::thread _thread;
};

}  // namespace parvane::app
