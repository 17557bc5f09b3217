// Extended MAPI runs while this lives.
#pragma once

#include <cstdint>

#include "platform/status.h"

namespace parvane::cli {

class MapiRun {
 public:
  MapiRun();
  ~MapiRun();
  MapiRun(const MapiRun&) = delete;
  MapiRun& operator=(const MapiRun&) = delete;

  // Ok when it started.
  platform::Status status() const;

 private:
  std::int32_t _result;
};

}  // namespace parvane::cli
