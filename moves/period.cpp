#include "moves/period.h"

#include <array>
#include <cstdint>
#include <limits>

namespace parvane::moves {
namespace {

using platform::FileTime;

constexpr std::int64_t kDay = 86'400;

class Reader {
 public:
  explicit Reader(std::string_view text) : _rest(text) {}

  bool AtEnd() const { return _rest.empty(); }
  // Exactly so many digits.
  bool Number(std::size_t digits, int& value) {
    value = 0;
    if (_rest.size() < digits) return false;
    for (const char c : _rest.substr(0, digits)) {
      if (c < '0' || c > '9') return false;
      value = value * 10 + (c - '0');
    }
    _rest.remove_prefix(digits);
    return true;
  }
  bool OneOf(std::string_view characters, char* which = nullptr) {
    if (_rest.empty() || characters.find(_rest.front()) == characters.npos) return false;
    if (which) *which = _rest.front();
    _rest.remove_prefix(1);
    return true;
  }

 private:
  std::string_view _rest;
};

struct Clock {
  std::int64_t seconds = 0;  // of the day
  std::int64_t length = kDay;
  std::optional<std::int64_t> offset;  // east of UTC
};

// Behind the T.
bool ReadClock(Reader& reader, Clock& clock) {
  int hour = 0, minute = 0, second = 0;
  if (!reader.Number(2, hour) || !reader.OneOf(":") || !reader.Number(2, minute)) return false;
  clock.length = 60;
  if (reader.OneOf(":")) {
    if (!reader.Number(2, second)) return false;
    clock.length = 1;
  }
  if (hour > 23 || minute > 59 || second > 59) return false;
  clock.seconds = hour * 3600 + minute * 60 + second;
  char sign = 0;
  if (reader.OneOf("Zz")) {
    clock.offset = 0;
  } else if (reader.OneOf("+-", &sign)) {
    if (!reader.Number(2, hour)) return false;
    reader.OneOf(":");
    if (!reader.Number(2, minute) || hour > 14 || minute > 59) return false;
    clock.offset = (sign == '-' ? -1 : 1) * (hour * 3600 + minute * 60);
  }
  return true;
}

FileTime MomentOf(std::int64_t local, std::optional<std::int64_t> offset) {
  const std::int64_t unix = local - offset.value_or(platform::LocalUtcOffsetAtLocal(local));
  const std::int64_t seconds = unix + platform::kUnixEpochInFileTimeSeconds;
  if (seconds < 0) return {};
  return platform::FileTimeFromTicks(static_cast<std::uint64_t>(seconds) *
                                     platform::kTicksPerSecond);
}

}  // namespace

std::optional<Period> ReadPeriod(std::string_view text) {
  Reader reader(text);
  int year = 0, month = 1, day = 1;
  if (!reader.Number(4, year) || year < 1601) return std::nullopt;
  const bool hasMonth = reader.OneOf("-");
  if (hasMonth && (!reader.Number(2, month) || month < 1 || month > 12)) return std::nullopt;
  const bool hasDay = hasMonth && reader.OneOf("-");
  if (hasDay && !reader.Number(2, day)) return std::nullopt;
  Clock clock;
  if (hasDay && reader.OneOf("Tt ") && !ReadClock(reader, clock)) return std::nullopt;
  if (!reader.AtEnd()) return std::nullopt;

  const auto days = [](int inYear, int inMonth, int onDay) {
    return platform::DaysFromCivil(inYear, static_cast<unsigned>(inMonth),
                                   static_cast<unsigned>(onDay));
  };
  const std::int64_t first = days(year, month, day);
  const bool december = month == 12;
  const std::int64_t nextMonth = days(december ? year + 1 : year, december ? 1 : month + 1, 1);
  if (day < 1 || first >= nextMonth) return std::nullopt;
  const std::int64_t begin = first * kDay + clock.seconds;
  const std::int64_t end = hasDay     ? begin + clock.length
                           : hasMonth ? nextMonth * kDay
                                      : days(year + 1, 1, 1) * kDay;
  return Period{MomentOf(begin, clock.offset), MomentOf(end, clock.offset)};
}

}  // namespace parvane::moves
