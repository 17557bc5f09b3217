#include "app/life.h"

namespace parvane::app {

void Life::Visit(std::uint64_t now) {
  const std::lock_guard lock(_mutex);
  _lastSign = now;
  _goodbye = false;
}

void Life::Goodbye(std::uint64_t now) {
  const std::lock_guard lock(_mutex);
  _lastSign = now;
  _goodbye = true;
}

bool Life::IsOver(std::uint64_t now, bool busy) {
  const std::lock_guard lock(_mutex);
  if (busy) {
    // Who closed the page while a conversion went on may come back to see what has become of it.
    _lastSign = now;
    _goodbye = false;
    return false;
  }
  return now - _lastSign >= (_goodbye ? kAfterGoodbye : kAfterLastVisit);
}

}  // namespace parvane::app
