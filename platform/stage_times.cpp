#include "platform/stage_times.h"

#if defined(__x86_64__) || defined(__i386__) || defined(_M_X64)
#define PARVANE_HAS_TSC 1
#if defined(_MSC_VER)
#include <intrin.h>
#else
#include <x86intrin.h>
#endif
#endif

namespace parvane::platform {

constinit thread_local StageTimes* StageTimes::s_measuring = nullptr;

std::string_view StageName(Stage stage) {
  static constexpr std::string_view kNames[kStages] = {
      "other",   "read", "split",           "parse",          "repair", "decode",
      "convert", "MAPI", "heap and tables", "encode and CRC", "write",  "flush"};
  return kNames[static_cast<std::size_t>(stage)];
}

// The processor's counter where there is one: a call of the system's clock for each of the hundred
// marks of a message would change what is measured.
std::uint64_t StageTimes::Now() {
#if defined(PARVANE_HAS_TSC)
  return __rdtsc();
#else
  return static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
#endif
}

void StageTimes::Start() {
  _current = Stage::kOther;
  _startTime = std::chrono::steady_clock::now();
  _startTicks = _since = Now();
  s_measuring = this;
}

void StageTimes::Stop() {
  if (s_measuring != this) return;
  (void)Switch(Stage::kOther);
  s_measuring = nullptr;
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - _startTime;
  if (_since > _startTicks) {
    _secondsPerTick = seconds.count() / static_cast<double>(_since - _startTicks);
  }
}

StageTimes::Total StageTimes::Of(Stage stage) const {
  const auto i = static_cast<std::size_t>(stage);
  return {static_cast<double>(_ticks[i]) * _secondsPerTick, _bytes[i]};
}

}  // namespace parvane::platform
