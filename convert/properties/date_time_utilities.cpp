#include "convert/properties/date_time_utilities.h"

#include <stdexcept>
#include <string_view>

#include "platform/text.h"

namespace QuelmarMIMEEngineCommon::DateTimeUtilities {

namespace platform = parvane::platform;

namespace {

constexpr std::uint64_t kTicksPerMinute = 600'000'000;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Walks a text and its scan format side by side and yields the numbers.
class NumberScanner {
 public:
  NumberScanner(std::string_view text, std::string_view format) : _text(text), _format(format) {}

  // False where text and format part, or the format has no further number.
  bool Next(std::uint16_t& value) {
    while (!_format.empty()) {
      const char c = _format.front();
      _format.remove_prefix(1);
      if (platform::IsAsciiWhiteSpace(c)) {
        SkipBlanks();
      } else if (c != '%' || _format.starts_with('%')) {
        if (c == '%') _format.remove_prefix(1);
        if (!_text.starts_with(c)) return false;
        _text.remove_prefix(1);
      } else {
        bool stored = false;
        if (!Number(value, stored)) return false;
        if (stored) return true;
      }
    }
    return false;
  }

 private:
  void SkipBlanks() {
    while (!_text.empty() && platform::IsAsciiWhiteSpace(_text.front())) _text.remove_prefix(1);
  }

  bool Number(std::uint16_t& value, bool& stored) {
    stored = !_format.starts_with('*');
    if (!stored) _format.remove_prefix(1);
    std::size_t width = 0;
    while (!_format.empty() && IsDigit(_format.front())) {
      width = (width * 10 + static_cast<std::size_t>(_format.front() - '0')) % 1000;
      _format.remove_prefix(1);
    }
    while (_format.starts_with('h') || _format.starts_with('l')) _format.remove_prefix(1);
    if (!_format.starts_with('d') && !_format.starts_with('u') && !_format.starts_with('i'))
      return false;
    _format.remove_prefix(1);

    SkipBlanks();
    if (width == 0) width = _text.size();
    std::size_t used = 0;
    std::uint32_t number = 0;
    while (used < width && used < _text.size() && IsDigit(_text[used]))
      number = (number * 10 + static_cast<std::uint32_t>(_text[used++] - '0')) & 0xFFFF;
    if (used == 0) return false;
    _text.remove_prefix(used);
    if (stored) value = static_cast<std::uint16_t>(number);
    return true;
  }

  std::string_view _text;
  std::string_view _format;
};

}  // namespace

std::time_t ConvertStringToTime(const std::string&) { throw std::runtime_error("NotImplemented"); }

void ConvertStringToSysTime(const std::string& text, const std::string& format, SYSTEMTIME& time) {
  NumberScanner scanner(text, format);
  for (std::uint16_t* field :
       {&time.wYear, &time.wMonth, &time.wDay, &time.wHour, &time.wMinute, &time.wSecond}) {
    if (!scanner.Next(*field)) return;
  }
}

void ConvertStringToFileTime(const std::string& text, const std::string& format, FILETIME& time) {
  SYSTEMTIME parts{};
  ConvertStringToSysTime(text, format, parts);
  time = {};
  platform::SystemTimeToFileTime(parts, &time);
}

LONG SystemTimeToRTime(const SYSTEMTIME& time) {
  FILETIME fileTime{};
  platform::SystemTimeToFileTime(time, &fileTime);
  return static_cast<LONG>(platform::FileTimeTicks(fileTime) / kTicksPerMinute);
}

bool RTimeToFileTime(LONG minutes, FILETIME* time) {
  if (time)
    *time = platform::FileTimeFromTicks(static_cast<std::uint64_t>(minutes) * kTicksPerMinute);
  return true;
}

std::int64_t SubtractFILETIME(const FILETIME& first, const FILETIME& second) {
  // Unsigned first: two times may lie further apart than a signed difference holds.
  const std::uint64_t difference = platform::FileTimeTicks(first) - platform::FileTimeTicks(second);
  return static_cast<std::int64_t>(difference) /
         static_cast<std::int64_t>(platform::kTicksPerSecond);
}

void SystemTimeToStringLOCALE(const SYSTEMTIME* time, const std::u16string& zoneName,
                              std::u16string* out, const TIME_ZONE_INFORMATION* zone) {
  if (!time) return;
  SYSTEMTIME local = *time;
  if (zone && !platform::SystemTimeToTzSpecificLocalTime(zone, *time, &local)) local = *time;
  if (!out) return;
  *out = platform::FormatLocaleDate(local, u"ddd',' d MMM yyyy") + u' ' +
         platform::FormatLocaleTime(local, u"HH':'mm':'ss") + u' ' + zoneName;
}

}  // namespace QuelmarMIMEEngineCommon::DateTimeUtilities
