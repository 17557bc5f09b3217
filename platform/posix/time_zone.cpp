#include <cstdlib>
#include <ctime>
#include <string>

#include "platform/time.h"

namespace parvane::platform {

std::int32_t LocalUtcOffsetAtUtc(std::int64_t unixSeconds) {
  // localtime_r need not look at TZ by itself.
  static const bool kZoneRead = (::tzset(), true);
  (void)kZoneRead;
  const auto moment = static_cast<std::time_t>(unixSeconds);
  std::tm local;
  if (::localtime_r(&moment, &local) == nullptr) return 0;
  return static_cast<std::int32_t>(local.tm_gmtoff);
}

bool SetLocalTimeZone(std::string_view name) {
  if (name.empty()) {
    ::unsetenv("TZ");
  } else {
    ::setenv("TZ", std::string(name).c_str(), 1);
  }
  ::tzset();
  return true;
}

}  // namespace parvane::platform
