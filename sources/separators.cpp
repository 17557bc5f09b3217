#include "sources/separators.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "platform/text.h"
#include "sources/date_tokens.h"

namespace parvane::sources {
namespace {

constexpr std::string_view kFrom = "From ";

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsHexDigit(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f'); }

// The words of a line's end, the last one first. A date has no more of them than that, even with
// two zones and the name of a host behind it.
class LastWords {
 public:
  explicit LastWords(std::string_view line) {
    while (_count < _words.size()) {
      while (!line.empty() && IsBlank(line.back())) line.remove_suffix(1);
      if (line.empty()) break;
      std::size_t begin = line.size();
      while (begin > 0 && !IsBlank(line[begin - 1])) --begin;
      _words[_count++] = line.substr(begin);
      line = line.substr(0, begin);
    }
  }

  std::size_t size() const { return _count; }
  // Empty behind the last.
  std::string_view operator[](std::size_t at) const {
    return at < _count ? _words[at] : std::string_view();
  }

 private:
  static bool IsBlank(char c) { return c == ' ' || c == '\t' || c == ',' || c == '\r'; }

  std::array<std::string_view, 12> _words{};
  std::size_t _count = 0;
};

bool IsDay(std::string_view word) {
  return !word.empty() && word.size() <= 2 && std::ranges::all_of(word, IsDigit);
}

bool IsYearNumber(std::string_view word) {
  return (word.size() == 4 || word.size() == 2) && std::ranges::all_of(word, IsDigit);
}

bool IsClockTime(std::string_view word) {
  const std::size_t hours = word.find(':');
  if (hours == 0 || hours > 2 || word.size() < hours + 3) return false;
  const auto digit = [&](std::size_t at) { return IsDigit(word[at]); };
  if (!digit(0) || !digit(hours - 1) || !digit(hours + 1) || !digit(hours + 2)) return false;
  const std::string_view rest = word.substr(hours + 3);
  return rest.empty() ||
         (rest.size() == 3 && rest[0] == ':' && IsDigit(rest[1]) && IsDigit(rest[2]));
}

bool IsZone(std::string_view word) {
  if (word.starts_with('(') && word.ends_with(')')) return true;
  if (word.size() == 5 && (word[0] == '+' || word[0] == '-'))
    return std::ranges::all_of(word.substr(1), IsDigit);
  return word.size() <= 5 && std::ranges::all_of(word, [](char c) { return c >= 'A' && c <= 'Z'; });
}

// How many words behind the time are a year (one at most) and zones; none: not all of them are.
bool EndsADate(const LastWords& words, std::size_t first, std::size_t time, bool& year) {
  constexpr std::size_t kMost = 3;
  if (time - first > kMost) return false;
  for (std::size_t i = first; i < time; ++i) {
    if (IsYearNumber(words[i]) && !year) {
      year = true;
    } else if (!IsZone(words[i])) {
      return false;
    }
  }
  return true;
}

// As nearly all are written: "Wed Jan  1 12:00:00 2025". Spares nearly every message of a mailbox
// the way through the words.
bool EndsAsUsual(std::string_view line) {
  constexpr std::string_view kShape = "??? ??? ?9 99:99:99 9999";
  if (line.size() <= kShape.size()) return false;
  line.remove_prefix(line.size() - kShape.size());
  for (std::size_t i = 0; i < kShape.size(); ++i) {
    const char shape = kShape[i];
    if (shape != '?' && (shape == '9' ? !IsDigit(line[i]) : line[i] != shape)) return false;
  }
  return (line[8] == ' ' || IsDigit(line[8])) && ReadMonth(line.substr(4, 3), nullptr);
}

bool IsPatchLine(std::string_view line) {
  constexpr std::string_view kDate = " Mon Sep 17 00:00:00 2001";
  if (!line.ends_with(kDate)) return false;
  const std::string_view hash =
      line.substr(kFrom.size(), line.size() - kFrom.size() - kDate.size());
  return (hash.size() == 40 || hash.size() == 64) && std::ranges::all_of(hash, IsHexDigit);
}

// A name of visible ASCII and a colon; or a quoted separator, as programs leave it in front of a
// header.
bool LooksLikeField(std::string_view line) {
  if (line.starts_with(">From ")) return true;
  const std::size_t colon = line.find(':');
  if (colon == line.npos || colon == 0) return false;
  return std::ranges::all_of(line.substr(0, colon), [](char c) { return c > ' ' && c < '\x7F'; });
}

}  // namespace

bool SeparatorHasDate(std::string_view line) {
  if (!line.starts_with(kFrom)) return false;
  if (EndsAsUsual(line)) return true;
  const LastWords words(line.substr(kFrom.size()));
  const std::size_t first = words[1] == "from" && words[2] == "remote" ? 3 : 0;
  std::size_t time = first;
  while (time < words.size() && !IsClockTime(words[time])) ++time;
  if (time >= words.size()) return false;
  bool year = false;
  if (!EndsADate(words, first, time, year)) return false;
  const bool monthFirst = IsDay(words[time + 1]) && ReadMonth(words[time + 2], nullptr);
  if (monthFirst) return year;
  return IsYearNumber(words[time + 1]) && ReadMonth(words[time + 2], nullptr) &&
         IsDay(words[time + 3]);
}

bool SeparatorSigns::Suffice() const {
  if (patch) return false;
  if (bare) return beforeField;
  return (afterEmptyLine ? 1 : 0) + (dated ? 1 : 0) + (beforeField ? 1 : 0) >= 2;
}

SeparatorSigns SignsOf(std::string_view line, std::string_view next, bool afterEmptyLine) {
  SeparatorSigns signs;
  signs.afterEmptyLine = afterEmptyLine;
  signs.bare = line.find_first_not_of(" \t", kFrom.size()) == line.npos;
  signs.dated = SeparatorHasDate(line);
  signs.patch = signs.dated && IsPatchLine(line);
  signs.beforeField = LooksLikeField(next);
  return signs;
}

bool AnnouncesQuotedMail(std::string_view line) {
  constexpr std::string_view kRule = "----";
  const std::size_t end = line.find_last_not_of(" \t\r\n");
  if (end == line.npos) return false;
  line = line.substr(0, end + 1);
  return line.ends_with(':') || (line.starts_with(kRule) && line.ends_with(kRule));
}

}  // namespace parvane::sources
