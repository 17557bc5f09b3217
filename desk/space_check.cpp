#include "desk/space_check.h"

#include <algorithm>

#include <fmt/format.h>

#include "desk/format.h"

namespace parvane::desk {

using platform::Status;
using platform::StatusCode;

namespace {

// An empty PST.
constexpr std::uint64_t kShell = 271'360;
constexpr std::uint64_t kLargestPst = std::uint64_t{50} << 30;

// Text takes two bytes a character. Attachments take three quarters of what their encoding does;
// the least is what is left of letters that were written as nine characters each ("=E4=B8=AD").
std::uint64_t Likely(std::uint64_t mail) { return kShell + mail * 2; }
std::uint64_t Least(std::uint64_t mail) { return mail / 5; }

}  // namespace

Status CheckSpace(const SpaceNeeded& needed, std::string* warning) {
  struct Bound {
    std::uint64_t room;
    std::string words;
    StatusCode code;
  };
  const std::uint64_t limit = needed.sizeLimit != 0 ? needed.sizeLimit : kLargestPst;
  const std::uint64_t done = needed.isPartOfIt ? needed.thereAlready : 0;
  const std::uint64_t least = Least(needed.mailBytes) - std::min(done, Least(needed.mailBytes));
  const std::uint64_t likely = Likely(needed.mailBytes) - std::min(done, Likely(needed.mailBytes));
  const std::uint64_t allowed = limit - std::min(limit, needed.thereAlready);
  const Bound bounds[] = {
      {needed.freeBytes.value_or(UINT64_MAX),
       fmt::format("only {} are free where the PST is made", Size(needed.freeBytes.value_or(0))),
       StatusCode::kDiskFull},
      {allowed, fmt::format("the PST may grow to {} ({})", Size(limit), kSplitAdvice),
       StatusCode::kTooBig},
  };
  for (const Bound& bound : bounds) {
    if (least > bound.room) {
      return {bound.code, fmt::format("{} of mail take at least {} as a PST, and {}",
                                      Size(needed.mailBytes), Size(least), bound.words)};
    }
    if (warning->empty() && likely > bound.room) {
      *warning = fmt::format("{} of mail may take up to {} as a PST, and {}",
                             Size(needed.mailBytes), Size(likely), bound.words);
    }
  }
  return {};
}

}  // namespace parvane::desk
