// Where the time of a run goes: seconds and bytes of each stage of the work.
//
//   StageTimes times;
//   times.Start();                         // from here on the marks of this thread count
//   ...  { const StageMark mark(Stage::kParse, text.size()); ... }
//   times.Stop();
//   times.Of(Stage::kParse).seconds
//
// Marks nest, and each moment counts for the innermost one alone, so the stages add up to the whole
// time between Start and Stop; what no mark covers is kOther. A mark costs a look at one variable
// while nobody measures, a reading of the processor's counter at either end while somebody does.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace parvane::platform {

enum class Stage : std::uint8_t {
  kOther,
  kRead,     // bytes from the source
  kSplit,    // messages found in them
  kParse,    // headers, addresses, parts
  kRepair,   // damaged headers put right
  kDecode,   // transfer encodings and character sets
  kConvert,  // mail turned into properties
  kMapi,     // MAPI calls and objects
  kTables,   // heaps, tables, B-trees
  kEncode,   // blocks scrambled and check-summed
  kWrite,    // given to the system
  kFlush,    // waited for
};
inline constexpr std::size_t kStages = 12;
// "read", "heap and tables" ...
std::string_view StageName(Stage stage);

class StageTimes {
 public:
  struct Total {
    double seconds = 0;
    std::uint64_t bytes = 0;
  };

  StageTimes() = default;
  ~StageTimes() { Stop(); }
  StageTimes(const StageTimes&) = delete;
  StageTimes& operator=(const StageTimes&) = delete;

  // On the thread to be measured; one at a time.
  void Start();
  void Stop();
  // After Stop.
  Total Of(Stage stage) const;

 private:
  friend class StageMark;
  static std::uint64_t Now();
  // Ends the current stage's turn; the stage that had it.
  Stage Switch(Stage to) {
    const std::uint64_t now = Now();
    _ticks[static_cast<std::size_t>(_current)] += now - _since;
    _since = now;
    const Stage from = _current;
    _current = to;
    return from;
  }

  // Null while nobody measures this thread.
  static constinit thread_local StageTimes* s_measuring;

  std::array<std::uint64_t, kStages> _ticks{};
  std::array<std::uint64_t, kStages> _bytes{};
  Stage _current = Stage::kOther;
  std::uint64_t _since = 0;
  std::uint64_t _startTicks = 0;
  std::chrono::steady_clock::time_point _startTime;
  double _secondsPerTick = 0;
};

class [[nodiscard]] StageMark {
 public:
  explicit StageMark(Stage stage, std::uint64_t bytes = 0)
      : _times(StageTimes::s_measuring), _stage(stage) {
    if (_times == nullptr) return;
    _before = _times->Switch(stage);
    _times->_bytes[static_cast<std::size_t>(stage)] += bytes;
  }
  ~StageMark() {
    if (_times != nullptr && _times == StageTimes::s_measuring) (void)_times->Switch(_before);
  }
  // Bytes that are known only once they are there.
  void CountBytes(std::uint64_t bytes) const {
    if (_times != nullptr) _times->_bytes[static_cast<std::size_t>(_stage)] += bytes;
  }
  StageMark(const StageMark&) = delete;
  StageMark& operator=(const StageMark&) = delete;

 private:
  StageTimes* _times;
  Stage _stage;
  Stage _before = Stage::kOther;
};

}  // namespace parvane::platform
