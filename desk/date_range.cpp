#include "desk/date_range.h"

namespace parvane::desk {

using platform::FileTime;
using platform::FileTimeTicks;

void DateRange::Add(FileTime delivered) {
  if (FileTimeTicks(delivered) == 0) {
    ++undated;
    return;
  }
  if (first == FileTime{} || FileTimeTicks(delivered) < FileTimeTicks(first)) first = delivered;
  if (FileTimeTicks(delivered) > FileTimeTicks(last)) last = delivered;
}

void DateRange::Add(const DateRange& other) {
  undated += other.undated;
  for (const FileTime time : {other.first, other.last}) {
    if (time != FileTime{}) Add(time);
  }
}

}  // namespace parvane::desk
