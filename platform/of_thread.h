// One object of a type for each thread, made when it is first asked for.
#pragma once

namespace parvane::platform {

template <typename T>
T& OfThread() {
#ifdef __MINGW32__
  // MinGW frees the memory of a thread's objects before it destroys them. What has to be destroyed
  // is made on the heap, and left there when its thread ends: some kilobytes, for few threads.
  thread_local T* const object = new T;
  return *object;
#else
  thread_local T object;
  return object;
#endif
}

}  // namespace parvane::platform
