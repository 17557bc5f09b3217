// Keeps exceptions from C.
#pragma once

namespace parvane {

// What `work` yields; where it throws, which only a lack of memory does, `otherwise`.
template <typename Value, typename Work>
Value Guarded(Value otherwise, Work work) {
  try {
    return work();
  } catch (...) {
    return otherwise;
  }
}

}  // namespace parvane
