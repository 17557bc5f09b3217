#include "cli/source_options.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

#include "cli/option_words.h"
#include "moves/period.h"
#include "platform/path.h"
#include "platform/time.h"

namespace parvane::cli {
namespace {

using desk::KeepChoice;
using engine::SeparatorRule;
using factory::SourceKind;

constexpr Word<SeparatorRule> kSeparatorRules[] = {{"standard", SeparatorRule::kStandard},
                                                   {"strict", SeparatorRule::kStrict}};
constexpr Word<std::optional<SourceKind>> kSources[] = {{"auto", std::nullopt},
                                                        {"mbox", SourceKind::kMbox},
                                                        {"thunderbird", SourceKind::kThunderbird},
                                                        {"maildir", SourceKind::kMaildir},
                                                        {"mh", SourceKind::kMh},
                                                        {"eml", SourceKind::kEml},
                                                        {"apple-mail", SourceKind::kAppleMail},
                                                        {"archive", SourceKind::kArchive},
                                                        {"takeout", SourceKind::kTakeout}};
constexpr Word<std::optional<engine::LabelUse>> kLabels[] = {
    {"folders", engine::LabelUse::kFolders},
    {"copies", engine::LabelUse::kCopies},
    {"off", engine::LabelUse::kOff}};

struct KeepGroup {
  std::string_view name;
  bool KeepChoice::*member;
};
constexpr KeepGroup kKeepGroups[] = {
    {"state", &KeepChoice::state},         {"winmail", &KeepChoice::winmail},
    {"addresses", &KeepChoice::addresses}, {"headers", &KeepChoice::headers},
    {"dates", &KeepChoice::dates},         {"inline", &KeepChoice::inlines},
    {"parts", &KeepChoice::parts}};

std::string NamesOfKeepGroups() {
  std::string names;
  for (const KeepGroup& group : kKeepGroups)
    names.append(names.empty() ? "" : ",").append(group.name);
  return names;
}

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

}  // namespace

void SourceArguments::Describe(CLI::App& command) {
  AddChoice(command, "--from", _options.from, kSources, "what the sources are; auto looks at each");
  command.add_option("--name", _name, "name of the top folder for the mail in the PST")
      ->type_name("NAME");
  command
      .add_option("--keep", _keep,
                  "what comes along beside the messages themselves: state (read, answered, flags, "
                  "tags, importance), winmail (what is in a winmail.dat), addresses (names and "
                  "addresses that repair would lose), headers (as they came), dates (of messages "
                  "without one), inline (pictures in the text, not beside it), parts (what no "
                  "property takes, as attachments); all by default")
      ->type_name("all|none|LIST");
  command.add_flag("--skip-deleted", _options.skipDeleted,
                   "leave out messages that their mail program has marked as deleted");
  command
      .add_option("--folder", _folders,
                  "only folders that match, with those below; again for more. A name (Trash, "
                  "List*) matches on any level, a path (Inbox/Work, Lists/**) from the top")
      ->type_name("GLOB")
      ->allow_extra_args(false);
  command
      .add_option("--exclude", _excluded, "no folders that match, nor those below; again for more")
      ->type_name("GLOB")
      ->allow_extra_args(false);
  command
      .add_option(
          "--since", _since,
          "only messages delivered then or later: 2019, 2019-05, 2019-05-03, or with a time "
          "behind it, T08:30; those that nothing tells the date of are taken")
      ->type_name("DATE");
  command
      .add_option("--until", _until, "only messages delivered then or earlier; the day is included")
      ->type_name("DATE");
  command.add_flag("--skip-junk", _options.wanted.skipJunk,
                   "leave out messages marked as junk, and junk folders");
  AddChoice(
      command, "--separators", _options.separators, kSeparatorRules,
      "what parts the messages of a mailbox: standard, every line that begins with \"From \"; "
      "strict, only where an empty line before it, a date in it or a header behind it speak for "
      "it too");
  AddChoice(command, "--labels", _options.labels, kLabels,
            "what becomes of Gmail's labels: one copy of each message in the folder of its most "
            "specific label, the others as categories; a copy in the folder of each label; or "
            "nothing. folders is the default for exports of Gmail");
}

std::string SourceArguments::Understand(const std::vector<std::string>& paths) {
  const auto keep = KeepNamed(_keep);
  if (!keep) {
    return "--keep: \"" + _keep + "\" is neither all, none nor a list of: " + NamesOfKeepGroups();
  }
  _options.keep = *keep;
  _options.name = platform::PathFromNative(_name);
  for (const std::string& source : paths)
    _options.sources.push_back(platform::PathFromNative(source));
  return UnderstandChoice();
}

std::string SourceArguments::UnderstandChoice() {
  for (const auto& [option, given, globs] :
       {std::tuple("--folder", &_folders, &_options.folders),
        std::tuple("--exclude", &_excluded, &_options.excluded)}) {
    for (const std::string& text : *given) {
      auto glob = moves::FolderGlob::Parse(platform::PathFromNative(text));
      if (!glob.ok()) return std::string(option) + ": \"" + text + "\": " + glob.status().message();
      globs->push_back(*std::move(glob));
    }
  }
  for (const auto& [option, text] :
       {std::pair("--since", &_since), std::pair("--until", &_until)}) {
    if (text->empty()) continue;
    const auto period = moves::ReadPeriod(*text);
    if (!period) return std::string(option) + ": \"" + *text + "\" is no date such as 2019-05-03";
    text == & _since ? _options.wanted.since = period->begin : _options.wanted.before = period->end;
  }
  const moves::Wanted& wanted = _options.wanted;
  const bool backwards =
      wanted.since && wanted.before &&
      platform::FileTimeTicks(*wanted.since) >= platform::FileTimeTicks(*wanted.before);
  return backwards ? "--since is after --until" : "";
}

std::string FaultOfPath(const std::string& path) {
  if (platform::kPathSeparator != u'\\' || path.find('"') == path.npos) return {};
  // Windows takes the quote for a part of the name, which none can have.
  return path +
         ": \\ in front of a closing quote means the quote itself: leave it out there, or write "
         "\\\\";
}

}  // namespace parvane::cli
