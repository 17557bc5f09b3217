#include "app/run_options.h"

#include <string>
#include <vector>

#include "parvane/option_words.h"

namespace parvane::app {
namespace {

std::vector<std::string> TextsOf(const Json& list) {
  std::vector<std::string> texts;
  for (const Json& text : list) {
    if (!text.is_string()) throw Refusal{400, "request", "a list of texts holds something else"};
    texts.push_back(text.get<std::string>());
  }
  return texts;
}

std::string Keep(const Json& options) {
  const auto keep = options.find("keep");
  if (keep == options.end() || !keep->is_array()) return "all";
  std::string words;
  for (const std::string& word : TextsOf(*keep))
    words.append(words.empty() ? "" : ",").append(word);
  return words.empty() ? "none" : words;
}

// The words of the command line, which say the same.
ConvertOptions Words(const Json& options) {
  ConvertOptions words;
  words.keep = Keep(options);
  words.split = TextIn(options, "split");
  words.since = TextIn(options, "since");
  words.until = TextIn(options, "until");
  words.skipDeleted = FlagIn(options, "skipDeleted");
  words.skipJunk = FlagIn(options, "skipJunk");
  if (const std::string dedup = TextIn(options, "dedup"); !dedup.empty()) words.dedup = dedup;
  return words;
}

}  // namespace

desk::ConvertOptions RunOptions(const Json& request) {
  const auto found = request.find("options");
  const Json given = found == request.end() || !found->is_object() ? Json::object() : *found;
  ConvertOptions words = Words(given);
  words.overwrite = FlagIn(request, "replace");
  // What is there already is not written once more.
  words.append = words.skipExisting = FlagIn(request, "add");
  // What a run has left that did not finish is gone on with, as long as nothing else was said;
  // parts that are there may be another conversion's.
  words.resume = !words.overwrite && !words.append && words.split.empty();
  desk::ConvertOptions options;
  if (const std::string fault = Understand(words, options); !fault.empty())
    throw Refusal{400, "options", fault};
  if (const auto folders = given.find("folders"); folders != given.end() && folders->is_array()) {
    options.onlyFolders.emplace();
    for (const Json& path : *folders) options.onlyFolders->insert(TextsOf(path));
  }
  return options;
}

}  // namespace parvane::app
