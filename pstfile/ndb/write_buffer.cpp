#include "pstfile/ndb/write_buffer.h"

#include <algorithm>
#include <utility>

#include "platform/stage_times.h"
#include "pstfile/ndb/layout.h"
#include "pstfile/ndb/page.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;

const WriteBuffer::Interval* WriteBuffer::FindInterval(std::uint64_t number) const {
  const auto holds = [&](const Interval& i) { return i.number == number && !i.runs.empty(); };
  if (_last < _intervals.size() && holds(_intervals[_last])) return &_intervals[_last];
  for (std::size_t i = 0; i < _intervals.size(); ++i) {
    if (!holds(_intervals[i])) continue;
    _last = i;
    return &_intervals[i];
  }
  return nullptr;
}

void WriteBuffer::AddRun(std::vector<Run>& runs, Run run) {
  if (runs.empty() || runs.back().end < run.begin) {
    runs.push_back(run);
    return;
  }
  if (runs.back().end == run.begin) {
    runs.back().end = run.end;
    return;
  }
  // The first that touches the new one, and the first that is wholly behind it.
  const auto first = std::ranges::lower_bound(runs, run.begin, {}, &Run::end);
  auto behind = first;
  while (behind != runs.end() && behind->begin <= run.end) {
    run.begin = std::min(run.begin, behind->begin);
    run.end = std::max(run.end, behind->end);
    ++behind;
  }
  if (first == behind) {
    runs.insert(first, run);
  } else {
    *first = run;
    runs.erase(first + 1, behind);
  }
}

Status WriteBuffer::Write(platform::RandomAccessFile& file, Interval& interval) {
  const std::uint64_t start = IntervalOffset(interval.number);
  for (const Run& run : interval.runs) {
    const platform::StageMark mark(platform::Stage::kWrite, run.end - run.begin);
    Status s = file.WriteAt(run.begin, {interval.bytes.get() + (run.begin - start),
                                        static_cast<std::size_t>(run.end - run.begin)});
    if (!s.ok()) return s;
  }
  interval.runs.clear();
  return {};
}

Result<std::span<std::byte>> WriteBuffer::Reserve(platform::RandomAccessFile& file,
                                                  std::uint64_t offset, std::size_t size) {
  const std::uint64_t number = IntervalOf(offset);
  auto* interval = const_cast<Interval*>(FindInterval(number));
  if (interval == nullptr) {
    if (_intervals.size() < _capacity) {
      // What runs out of memory leaves no interval behind.
      auto bytes = std::make_unique_for_overwrite<std::byte[]>(kAMapInterval);
      interval = &_intervals.emplace_back();
      interval->bytes = std::move(bytes);
      _last = _intervals.size() - 1;
    } else {
      interval = &_intervals[_next];
      if (Status s = Write(file, *interval); !s.ok()) return s;
      _last = _next;
      _next = (_next + 1) % _capacity;
    }
    interval->number = number;
  }
  AddRun(interval->runs, {offset, offset + size});
  return std::span(interval->bytes.get() + (offset - IntervalOffset(number)), size);
}

std::optional<std::span<const std::byte>> WriteBuffer::Find(std::uint64_t offset,
                                                            std::size_t size) const {
  const std::uint64_t number = IntervalOf(offset);
  const Interval* interval = FindInterval(number);
  if (interval == nullptr) return std::nullopt;
  const auto run = std::ranges::upper_bound(interval->runs, offset, {}, &Run::end);
  if (run == interval->runs.end() || run->begin > offset || run->end < offset + size) {
    return std::nullopt;
  }
  return std::span<const std::byte>(interval->bytes.get() + (offset - IntervalOffset(number)),
                                    size);
}

Status WriteBuffer::Flush(platform::RandomAccessFile& file) {
  for (std::size_t i = 0; i < _intervals.size(); ++i) {
    Interval& interval = _intervals[(_next + i) % _intervals.size()];
    if (Status s = Write(file, interval); !s.ok()) return s;
  }
  _next = 0;
  return {};
}

}  // namespace parvane::pstfile
