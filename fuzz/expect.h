// What a fuzz target says when a promise is broken.
#pragma once

#include <cstdio>
#include <cstdlib>

// Ends the program, so that the fuzzer keeps the input.
inline void Expect(bool holds, const char* promise) {
  if (holds) return;
  std::fprintf(stderr, "broken promise: %s\n", promise);
  std::abort();
}
