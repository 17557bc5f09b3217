#include "parvane/option_words.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <tuple>
#include <utility>

#include "desk/format.h"
#include "moves/period.h"
#include "platform/path.h"
#include "platform/time.h"

namespace parvane {
namespace {

using desk::Dedup;
using desk::KeepChoice;
using desk::MapiChoice;

// Outlook's own default limit for a PST.
constexpr const char* kDefaultSizeLimit = "50GB";

// In less there is hardly room for more than what every PST has.
constexpr std::uint64_t kLeastPart = 10'000'000;

std::u16string Path(const std::string& native) { return platform::PathFromNative(native); }

struct KeepGroup {
  std::string_view name;
  bool KeepChoice::*member;
};
constexpr KeepGroup kKeepGroups[] = {
    {"state", &KeepChoice::state},         {"winmail", &KeepChoice::winmail},
    {"addresses", &KeepChoice::addresses}, {"headers", &KeepChoice::headers},
    {"dates", &KeepChoice::dates},         {"inline", &KeepChoice::inlines},
    {"parts", &KeepChoice::parts}};

// "all", "none", or some of the groups with commas between them.
std::optional<KeepChoice> KeepNamed(const std::string& list) {
  KeepChoice keep;
  if (list == "all") return keep;
  for (const KeepGroup& group : kKeepGroups) keep.*group.member = false;
  keep.keys = list != "none";
  if (list == "none") return keep;
  for (std::size_t at = 0; at <= list.size();) {
    const std::size_t end = std::min(list.find(',', at), list.size());
    const auto* group = std::ranges::find(kKeepGroups, std::string_view(list).substr(at, end - at),
                                          &KeepGroup::name);
    if (group == std::end(kKeepGroups)) return std::nullopt;
    keep.*group->member = true;
    at = end + 1;
  }
  return keep;
}

template <typename Choice, std::size_t kCount>
std::string Take(const char* option, const std::string& word, const Word<Choice> (&words)[kCount],
                 Choice& choice) {
  const auto* found = std::ranges::find(words, word, &Word<Choice>::name);
  if (found != std::end(words)) {
    choice = found->choice;
    return {};
  }
  std::string names;
  for (const Word<Choice>& each : words) names.append(names.empty() ? "" : ", ").append(each.name);
  return std::string(option) + ": \"" + word + "\" is none of: " + names;
}

std::string UnderstandGlobs(const char* option, const std::vector<std::string>& given,
                            std::vector<moves::FolderGlob>& globs) {
  globs.clear();
  for (const std::string& text : given) {
    auto glob = moves::FolderGlob::Parse(Path(text));
    if (!glob.ok()) return std::string(option) + ": \"" + text + "\": " + glob.status().message();
    globs.push_back(*std::move(glob));
  }
  return {};
}

std::string UnderstandPeriod(const SourceOptions& words, moves::Wanted& wanted) {
  for (const auto& [option, text] :
       {std::pair("--since", &words.since), std::pair("--until", &words.until)}) {
    if (text->empty()) continue;
    const auto period = moves::ReadPeriod(*text);
    if (!period) return std::string(option) + ": \"" + *text + "\" is no date such as 2019-05-03";
    text == & words.since ? wanted.since = period->begin : wanted.before = period->end;
  }
  const bool backwards =
      wanted.since && wanted.before &&
      platform::FileTimeTicks(*wanted.since) >= platform::FileTimeTicks(*wanted.before);
  return backwards ? "--since is after --until" : "";
}

std::string UnderstandSize(const ConvertOptions& words, desk::ConvertOptions& options) {
  const bool outlook = options.mapi == MapiChoice::kOutlook;
  if (outlook && !words.sizeLimit.empty())
    return "--size-limit is for the built-in MAPI: Outlook has a limit of its own";
  std::string limit = words.sizeLimit.empty() ? kDefaultSizeLimit : words.sizeLimit;
  options.split.byYear = words.split == "year";
  options.split.bySize = !words.split.empty() && !options.split.byYear;
  if (outlook && options.split)
    return "--split is for the built-in MAPI: Outlook does not tell how large its PST has become";
  if (options.split.bySize) {
    if (!words.sizeLimit.empty())
      return "--size-limit is not for --split SIZE, which says how large each PST may be";
    const auto size = desk::ParseSize(words.split);
    if (!size) return "--split: \"" + words.split + "\" is neither year nor a size such as 20GB";
    if (*size < kLeastPart) return "--split: the least size is " + desk::Size(kLeastPart);
    limit = words.split;
  }
  const auto size = desk::ParseSize(limit);
  if (!size) return "--size-limit: \"" + limit + "\" is no size such as 20GB";
  options.sizeLimit = *size;
  return {};
}

}  // namespace

std::string NamesOfKeepGroups() {
  std::string names;
  for (const KeepGroup& group : kKeepGroups)
    names.append(names.empty() ? "" : ",").append(group.name);
  return names;
}

std::string Understand(const SourceOptions& words, desk::SourceOptions& options) {
  const auto keep = KeepNamed(words.keep);
  if (!keep) {
    return "--keep: \"" + words.keep +
           "\" is neither all, none nor a list of: " + NamesOfKeepGroups();
  }
  options.keep = *keep;
  options.name = Path(words.name);
  options.skipDeleted = words.skipDeleted;
  options.wanted.skipJunk = words.skipJunk;
  std::string fault = Take("--from", words.from, kSourceWords, options.from);
  if (fault.empty())
    fault = Take("--separators", words.separators, kSeparatorWords, options.separators);
  if (fault.empty() && !words.labels.empty())
    fault = Take("--labels", words.labels, kLabelWords, options.labels);
  if (fault.empty()) fault = UnderstandGlobs("--folder", words.folder, options.folders);
  if (fault.empty()) fault = UnderstandGlobs("--exclude", words.exclude, options.excluded);
  return fault.empty() ? UnderstandPeriod(words, options.wanted) : fault;
}

std::string Understand(const ConvertOptions& words, desk::ConvertOptions& options) {
  std::string fault = Take("--mapi", words.mapi, kMapiWords, options.mapi);
  if (fault.empty()) fault = Take("--dedup", words.dedup, kDedupWords, options.dedup);
  if (!fault.empty()) return fault;
  if (options.mapi == MapiChoice::kOutlook && words.resume)
    return "--resume is for the built-in MAPI: what Outlook has saved of a PST is not known";
  if (words.append && (words.overwrite || words.resume))
    return "--append excludes --overwrite and --resume";
  if (words.skipExisting && !words.append) return "--skip-existing requires --append";
  fault = UnderstandSize(words, options);
  if (fault.empty()) fault = Understand(static_cast<const SourceOptions&>(words), options);
  if (!fault.empty()) return fault;
  options.append = words.append;
  options.overwrite = words.overwrite;
  options.skipExisting = words.skipExisting;
  options.resume = words.resume;
  // A later run is to know again what this one writes.
  if (options.skipExisting || options.resume || options.dedup != Dedup::kOff)
    options.keep.keys = true;
  options.log = Path(words.log);
  options.detailedLog = Path(words.detailedLog);
  options.report = Path(words.report);
  options.timings = words.timings;
  return {};
}

}  // namespace parvane
