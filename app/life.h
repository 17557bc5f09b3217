// How long the window lasts: until the page has been closed, or has not been heard of for minutes,
// but never less than a conversion takes.
#pragma once

#include <cstdint>
#include <mutex>

namespace parvane::app {

// Times are milliseconds of platform::MonotonicMilliseconds. May be used from several threads.
class Life {
 public:
  static constexpr std::uint64_t kAfterGoodbye = 5'000;
  static constexpr std::uint64_t kAfterLastVisit = 5 * 60'000;

  explicit Life(std::uint64_t now) : _lastSign(now) {}

  // A request. A page that is merely loaded anew says goodbye too, and is there again at once.
  void Visit(std::uint64_t now);
  void Goodbye(std::uint64_t now);
  // Asked again and again. `busy`: somebody is answered, or a run goes on.
  bool IsOver(std::uint64_t now, bool busy);

 private:
  std::mutex _mutex;
  std::uint64_t _lastSign;
  bool _goodbye = false;
};

}  // namespace parvane::app
