#include "moves/year_filter.h"

#include "engine/message_facts.h"
#include "platform/time.h"

namespace parvane::moves {
namespace {

constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kSecondsPerDay = 86'400;

unsigned YearOf(platform::FileTime delivered) {
  if (delivered == platform::FileTime{}) return kNoYear;
  const auto unixSeconds =
      static_cast<std::int64_t>(platform::FileTimeTicks(delivered) / kTicksPerSecond) -
      platform::kUnixEpochInFileTimeSeconds;
  const std::int64_t local = unixSeconds + platform::LocalUtcOffsetAtUtc(unixSeconds);
  const std::int64_t days = local / kSecondsPerDay - (local % kSecondsPerDay < 0 ? 1 : 0);
  return static_cast<unsigned>(platform::CivilFromDays(days).year);
}

}  // namespace

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
