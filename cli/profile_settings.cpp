#include "cli/profile_settings.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "platform/file.h"
#include "platform/process.h"
#include "platform/text.h"

namespace parvane::cli {
namespace {

constexpr std::uint64_t kLargestSettings = 64 << 20;
constexpr std::string_view kServer = "mail.server.server";
constexpr std::string_view kProfile = "[ProfD]";

// A text in double quotes, as JavaScript writes it; takes it off the front of `line`.
std::optional<std::string> TakeText(std::string_view& line) {
  const std::size_t open = line.find('"');
  if (open == line.npos) return std::nullopt;
  std::string text;
  for (std::size_t i = open + 1; i < line.size(); ++i) {
    if (line[i] == '"') {
      line.remove_prefix(i + 1);
      return text;
    }
    if (line[i] == '\\' && i + 1 < line.size()) ++i;
    text += line[i];
  }
  return std::nullopt;
}

// {"server1.directory": "/home/me/Mail", ...}, from lines such as
// user_pref("mail.server.server1.directory", "/home/me/Mail");
std::map<std::string, std::string> ServerSettings(std::string_view file) {
  std::map<std::string, std::string> settings;
  while (!file.empty()) {
    std::string_view line = file.substr(0, file.find('\n'));
    file.remove_prefix(std::min(line.size() + 1, file.size()));
    if (!line.starts_with("user_pref(")) continue;
    const auto name = TakeText(line);
    if (!name || !name->starts_with(kServer)) continue;
    if (auto value = TakeText(line))
      settings["server" + name->substr(kServer.size())] = *std::move(value);
  }
  return settings;
}

bool IsWithin(const std::u16string& path, const std::u16string& folder) {
  const std::u16string inner = platform::CanonicalPath(path);
  const std::u16string outer = platform::CanonicalPath(folder);
  return inner == outer || inner.starts_with(platform::JoinPath(outer, u""));
}

}  // namespace

std::vector<std::u16string> AccountsElsewhere(const std::u16string& profile) {
  const auto file = platform::ReadWholeFile(
      platform::FileSystem::Default(), platform::JoinPath(profile, u"prefs.js"), kLargestSettings);
  if (!file.ok()) return {};
  std::set<std::u16string> elsewhere;
  const auto settings = ServerSettings(*file);
  for (const auto& [name, absolute] : settings) {
    constexpr std::string_view kDirectory = ".directory";
    if (!name.ends_with(kDirectory)) continue;
    const std::string server = name.substr(0, name.size() - kDirectory.size());
    const auto type = settings.find(server + ".type");
    if (type != settings.end() && type->second == "nntp") continue;  // news is no mail
    // Where the profile has been moved or copied, only the path relative to it is right.
    const auto relative = settings.find(name + "-rel");
    std::u16string path = platform::Utf8ToUtf16(absolute);
    if (relative != settings.end() && relative->second.starts_with(kProfile))
      path = platform::JoinPath(profile,
                                platform::Utf8ToUtf16(relative->second.substr(kProfile.size())));
    if (!IsWithin(path, platform::JoinPath(profile, u"Mail")) &&
        !IsWithin(path, platform::JoinPath(profile, u"ImapMail")))
      elsewhere.insert(platform::CanonicalPath(path));
  }
  return {elsewhere.begin(), elsewhere.end()};
}

}  // namespace parvane::cli
