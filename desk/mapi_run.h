// Extended MAPI runs while this lives.
#pragma once

#include <cstdint>
#include <utility>

#include "desk/options.h"
#include "platform/mail_client.h"
#include "platform/status.h"

namespace parvane::desk {

class MapiRun {
 public:
  // With the system's MAPI, which keeps profiles, those that an earlier run left when it was cut
  // off are deleted. When it does not start, nothing of it is called any more.
  explicit MapiRun(MapiChoice choice);
  ~MapiRun();
  MapiRun(const MapiRun&) = delete;
  MapiRun& operator=(const MapiRun&) = delete;

  // Ok when it started; otherwise the reason, and what can be done about it.
  const platform::Status& status() const { return _status; }

 private:
  platform::Status _status;
};

// Only one program of a user at a time may use the system's MAPI this way, because the temporary
// profile's name is fixed. Held as long as this lives.
class OutlookTurn {
 public:
  static platform::Result<OutlookTurn> Take();

 private:
  explicit OutlookTurn(platform::UserLock lock) : _lock(std::move(lock)) {}
  platform::UserLock _lock;
};

// The temporary profile for looking into a PST.
inline constexpr const char* kListProfile = "parvane.list";

}  // namespace parvane::desk
