// Mail by the year of its delivery, in the calendar of the machine's time zone: first a pass over
// all of it that tells which years each folder has, then a pass for each year that takes its mail.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "moves/item_filter.h"
#include "platform/time.h"

namespace parvane::moves {

// Of what nothing tells the date of.
inline constexpr unsigned kNoYear = 0;

// Of the calendar of the machine's time zone; kNoYear for 0.
unsigned YearOf(platform::FileTime delivered);
// The same for many: what a time zone makes of a year is asked once.
class YearFinder {
 public:
  unsigned Of(platform::FileTime delivered);

 private:
  struct Known {
    unsigned year = kNoYear;
    std::uint64_t begin = 1, end = 0;  // ticks that are of this year for sure
  };
  std::array<Known, 64> _known;  // by the year as it is on average
};

class YearFilter : public ItemFilter {
 public:
  // The items that come next are of this folder, by a number of the caller's.
  void BeginFolder(std::size_t folder) { _folder = folder; }
  // From here on only mail of this year is taken; before, none is, and all is noted.
  void Take(unsigned year) { _year = year; }
  bool IsLearning() const { return !_year; }

  // In their order, kNoYear last.
  std::vector<unsigned> Years() const;
  bool Has(std::size_t folder, unsigned year) const;

  // Messages that were noted, and that have been taken since: the same, unless the sources change.
  std::uint64_t noted() const { return _noted; }
  std::uint64_t taken() const { return _taken; }

  Judgement Judge(QuelmarMIMEEngineCommon::IAsset& item) override;

 private:
  std::size_t _folder = 0;
  std::optional<unsigned> _year;
  std::uint64_t _noted = 0, _taken = 0;
  std::vector<std::set<unsigned>> _yearsOf;  // folders
};

}  // namespace parvane::moves
