#include "cli/source_options.h"

#include "cli/option_words.h"
#include "platform/path.h"

namespace parvane::cli {

void DescribeSources(CLI::App& command, SourceOptions& words) {
  AddChoice(command, "--from", words.from, kSourceWords,
            "what the sources are; auto looks at each");
  command.add_option("--name", words.name, "name of the top folder for the mail in the PST")
      ->type_name("NAME");
  CLI::Option* keep =
      command
          .add_option(
              "--keep", words.keep,
              "what comes along beside the messages themselves: state (read, answered, flags, "
              "tags, importance), winmail (what is in a winmail.dat), addresses (names and "
              "addresses that repair would lose), headers (as they came), dates (of messages "
              "without one), inline (pictures in the text, not beside it), parts (what no "
              "property takes, as attachments); all by default")
          ->type_name("all|none|LIST");
  SetListWords(*keep, NamesOfKeepGroups());
  command.add_flag("--skip-deleted", words.skipDeleted,
                   "leave out messages that their mail program has marked as deleted");
  command
      .add_option("--folder", words.folder,
                  "only folders that match, with those below; again for more. A name (Trash, "
                  "List*) matches on any level, a path (Inbox/Work, Lists/**) from the top")
      ->type_name("GLOB")
      ->allow_extra_args(false);
  command
      .add_option("--exclude", words.exclude,
                  "no folders that match, nor those below; again for more")
      ->type_name("GLOB")
      ->allow_extra_args(false);
  command
      .add_option(
          "--since", words.since,
          "only messages delivered then or later: 2019, 2019-05, 2019-05-03, or with a time "
          "behind it, T08:30; those that nothing tells the date of are taken")
      ->type_name("DATE");
  command
      .add_option("--until", words.until,
                  "only messages delivered then or earlier; the day is included")
      ->type_name("DATE");
  command.add_flag("--skip-junk", words.skipJunk,
                   "leave out messages marked as junk, and junk folders");
  AddChoice(
      command, "--separators", words.separators, kSeparatorWords,
      "what parts the messages of a mailbox: standard, every line that begins with \"From \"; "
      "strict, only where an empty line before it, a date in it or a header behind it speak for "
      "it too");
  AddChoice(command, "--labels", words.labels, kLabelWords,
            "what becomes of Gmail's labels: one copy of each message in the folder of its most "
            "specific label, the others as categories; a copy in the folder of each label; or "
            "nothing. folders is the default for exports of Gmail");
}

std::string FaultOfPath(const std::string& path) {
  if (platform::kPathSeparator != u'\\' || path.find('"') == path.npos) return {};
  // Windows takes the quote for a part of the name, which none can have.
  return path +
         ": \\ in front of a closing quote means the quote itself: leave it out there, or write "
         "\\\\";
}

}  // namespace parvane::cli
