#include "desk/folder_choice.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "desk/format.h"
#include "desk/suggestion.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using moves::FolderGlob;
using platform::Status;
using platform::StatusCode;

// What mail programs and servers call the folder that they move junk to, in the languages of most
// of their users.
constexpr std::array<std::u16string_view, 27> kJunkFolders = {
    u"junk",
    u"spam",
    u"bulk mail",
    u"bulk",
    u"junk e-mail",
    u"junk email",
    u"junk mail",
    u"junk-e-mail",
    u"spamverdacht",
    u"spamordner",
    u"unerwünscht",
    u"werbung",
    u"indésirables",
    u"courrier indésirable",
    u"pourriel",
    u"correo no deseado",
    u"no deseado",
    u"posta indesiderata",
    u"indesiderata",
    u"ongewenste e-mail",
    u"ongewenst",
    u"lixo eletrônico",
    u"lixo",
    u"wiadomości-śmieci",
    u"нежелательная почта",
    u"спам",
    u"迷惑メール",
};

bool IsJunkFolder(const std::vector<std::u16string>& path) {
  return std::ranges::any_of(path, [](const std::u16string& name) {
    return std::ranges::find(kJunkFolders, platform::FoldCase(name)) != kJunkFolders.end();
  });
}

bool AnyMatches(const std::vector<FolderGlob>& globs, const std::vector<std::u16string>& path) {
  return std::ranges::any_of(globs, [&](const FolderGlob& glob) { return glob.Matches(path); });
}

std::vector<std::string> AsWritten(const std::vector<std::u16string>& path) {
  std::vector<std::string> names;
  for (const std::u16string& name : path) names.push_back(platform::Utf16ToUtf8(name));
  return names;
}

// As it would have to be given.
std::string PatternOf(const std::vector<std::u16string>& path) {
  std::string text;
  for (const std::u16string& name : path)
    text += (text.empty() ? "" : "/") + platform::Utf16ToUtf8(name);
  return text;
}

Status MatchesNothing(std::string_view option, const FolderGlob& glob, const FolderPlan& plan) {
  const bool anywhere = glob.text().find(u'/') == glob.text().npos;
  std::vector<std::string> known;
  for (const PlannedFolder& folder : plan.folders())
    known.push_back(anywhere ? platform::Utf16ToUtf8(folder.name) : PatternOf(folder.path));
  const std::string word = platform::Utf16ToUtf8(glob.text());
  std::string near;
  for (const std::string& name : NearOnes(word, known))
    near += (near.empty() ? "; near it: " : ", ") + name;
  return {StatusCode::kNotFound, std::string(option) + ": no folder matches \"" + word + "\"" +
                                     (near.empty() ? "; parvane scan shows them all" : near)};
}

Status EachMatches(std::string_view option, const std::vector<FolderGlob>& globs,
                   const FolderPlan& plan) {
  for (const FolderGlob& glob : globs) {
    const bool any = std::ranges::any_of(
        plan.folders(), [&](const PlannedFolder& folder) { return glob.Matches(folder.path); });
    if (!any) return MatchesNothing(option, glob, plan);
  }
  return {};
}

}  // namespace

Status ChooseFolders(const SourceOptions& options, FolderPlan& plan) {
  if (options.folders.empty() && options.excluded.empty() && !options.onlyFolders &&
      !options.wanted.skipJunk) {
    return {};
  }
  if (Status any = EachMatches("--folder", options.folders, plan); !any.ok()) return any;
  if (Status any = EachMatches("--exclude", options.excluded, plan); !any.ok()) return any;
  plan.LeaveOut([&](const PlannedFolder& folder) {
    return (!options.folders.empty() && !AnyMatches(options.folders, folder.path)) ||
           AnyMatches(options.excluded, folder.path) ||
           (options.onlyFolders && !options.onlyFolders->contains(AsWritten(folder.path))) ||
           (options.wanted.skipJunk && IsJunkFolder(folder.path));
  });
  if (plan.MailFolders() > 0) return {};
  return {StatusCode::kNotFound, "no folder with mail is left of those that were chosen"};
}

}  // namespace parvane::desk
