#include "moves/year_filter.h"

#include "engine/message_facts.h"
#include "platform/time.h"

namespace parvane::moves {
namespace {

constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kSecondsPerDay = 86'400;

}  // namespace

unsigned YearOf(platform::FileTime delivered) {
  if (delivered == platform::FileTime{}) return kNoYear;
  const auto unixSeconds =
      static_cast<std::int64_t>(platform::FileTimeTicks(delivered) / kTicksPerSecond) -
      platform::kUnixEpochInFileTimeSeconds;
  const std::int64_t local = unixSeconds + platform::LocalUtcOffsetAtUtc(unixSeconds);
  const std::int64_t days = local / kSecondsPerDay - (local % kSecondsPerDay < 0 ? 1 : 0);
  return static_cast<unsigned>(platform::CivilFromDays(days).year);
}

// A day or two before its ends, a year is the same in every time zone.
unsigned YearFinder::Of(platform::FileTime delivered) {
  constexpr std::uint64_t kTicksPerYear = 31'556'952 * kTicksPerSecond;
  const std::uint64_t ticks = platform::FileTimeTicks(delivered);
  Known& known = _known[ticks / kTicksPerYear % _known.size()];
  if (ticks >= known.begin && ticks < known.end) return known.year;
  const unsigned year = YearOf(delivered);
  if (year == kNoYear) return kNoYear;
  constexpr std::int64_t kMargin = 2;
  const auto ticksOf = [](std::int64_t days) {
    const std::int64_t seconds = days * kSecondsPerDay + platform::kUnixEpochInFileTimeSeconds;
    return seconds < 0 ? 0 : static_cast<std::uint64_t>(seconds) * kTicksPerSecond;
  };
  known = {year, ticksOf(platform::DaysFromCivil(year, 1, 1) + kMargin),
           ticksOf(platform::DaysFromCivil(std::int64_t{year} + 1, 1, 1) - kMargin)};
  return year;
}

std::vector<unsigned> YearFilter::Years() const {
  std::set<unsigned> all;
  for (const std::set<unsigned>& years : _yearsOf) all.insert(years.begin(), years.end());
  const bool undated = all.erase(kNoYear) > 0;
  std::vector<unsigned> years(all.begin(), all.end());
  if (undated) years.push_back(kNoYear);
  return years;
}

bool YearFilter::Has(std::size_t folder, unsigned year) const {
  return folder < _yearsOf.size() && _yearsOf[folder].contains(year);
}

Judgement YearFilter::Judge(QuelmarMIMEEngineCommon::IAsset& item) {
  const auto* facts = dynamic_cast<const engine::IMessageFacts*>(&item);
  const unsigned year = facts ? YearOf(facts->Delivered()) : kNoYear;
  if (_year && *_year != year) return {Verdict::kOtherPart};
  if (_year) {
    ++_taken;
    return {};
  }
  ++_noted;
  if (_folder >= _yearsOf.size()) _yearsOf.resize(_folder + 1);
  _yearsOf[_folder].insert(year);
  return {Verdict::kOtherPart};
}

}  // namespace parvane::moves
