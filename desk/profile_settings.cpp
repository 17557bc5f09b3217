#include "desk/profile_settings.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

constexpr std::uint64_t kLargestSettings = 64 << 20;
constexpr std::string_view kServers = "mail.server.";
constexpr std::string_view kTags = "mailnews.tags.";
constexpr std::string_view kTagName = ".tag";
// "Mail/Local Folders/Work.sbd/Done" lies so far below its profile, and more.
constexpr int kMostLevels = 12;
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

// {"server1.directory": "/home/me/Mail", ...} for "mail.server.", from lines such as
// user_pref("mail.server.server1.directory", "/home/me/Mail");
std::map<std::string, std::string> SettingsBelow(std::string_view prefix, std::string_view file) {
  std::map<std::string, std::string> settings;
  while (!file.empty()) {
    std::string_view line = file.substr(0, file.find('\n'));
    file.remove_prefix(std::min(line.size() + 1, file.size()));
    if (!line.starts_with("user_pref(")) continue;
    const auto name = TakeText(line);
    if (!name || !name->starts_with(prefix)) continue;
    if (auto value = TakeText(line)) settings[name->substr(prefix.size())] = *std::move(value);
  }
  return settings;
}

platform::Result<std::string> SettingsFileOf(const std::u16string& folder) {
  return platform::ReadWholeFile(platform::FileSystem::Default(),
                                 platform::JoinPath(folder, u"prefs.js"), kLargestSettings);
}

bool IsWithin(const std::u16string& path, const std::u16string& folder) {
  const std::u16string inner = platform::CanonicalPath(path);
  const std::u16string outer = platform::CanonicalPath(folder);
  return inner == outer || inner.starts_with(platform::JoinPath(outer, u""));
}

using Settings = std::map<std::string, std::string>;

std::string ValueOf(const Settings& settings, const std::string& name) {
  const auto found = settings.find(name);
  return found == settings.end() ? "" : found->second;
}

// Where the profile has been moved or copied, only the path relative to it is right. Empty:
// nowhere.
std::u16string FolderOf(const Settings& settings, const std::string& server,
                        const std::u16string& profile) {
  const std::string relative = ValueOf(settings, server + ".directory-rel");
  if (!relative.starts_with(kProfile))
    return platform::Utf8ToUtf16(ValueOf(settings, server + ".directory"));
  const std::string inside = relative.substr(kProfile.size());
  return inside.empty() ? u"" : platform::JoinPath(profile, platform::Utf8ToUtf16(inside));
}

// The name its owner gave it, or else the address it was set up for.
std::u16string NameOf(const Settings& settings, const std::string& server) {
  std::string name = ValueOf(settings, server + ".name");
  const std::string user = ValueOf(settings, server + ".userName");
  const std::string host = ValueOf(settings, server + ".hostname");
  if (name.empty() && user.find('@') != user.npos) name = user;
  if (name.empty() && !user.empty() && !host.empty()) name = user + "@" + host;
  return platform::Utf8ToUtf16(name);
}

}  // namespace

std::vector<MailAccount> AccountsOf(const std::u16string& profile) {
  const auto file = SettingsFileOf(profile);
  if (!file.ok()) return {};
  std::map<std::u16string, MailAccount> accounts;
  const Settings settings = SettingsBelow(kServers, *file);
  // Either path may be missing: the relative one in old profiles, the other in those made by hand.
  std::set<std::string> servers;
  for (const auto& [key, value] : settings) {
    for (const std::string_view name : {".directory", ".directory-rel"}) {
      if (key.ends_with(name)) servers.insert(key.substr(0, key.size() - name.size()));
    }
  }
  for (const std::string& server : servers) {
    if (ValueOf(settings, server + ".type") == "nntp") continue;  // news is no mail
    const std::u16string folder = FolderOf(settings, server, profile);
    if (folder.empty()) continue;  // an account without a folder, left over from another program
    MailAccount account{platform::CanonicalPath(folder), NameOf(settings, server), false};
    account.outside = !IsWithin(folder, platform::JoinPath(profile, u"Mail")) &&
                      !IsWithin(folder, platform::JoinPath(profile, u"ImapMail"));
    accounts.emplace(account.folder, std::move(account));
  }
  std::vector<MailAccount> sorted;
  for (auto& [folder, account] : accounts) sorted.push_back(std::move(account));
  return sorted;
}

std::map<std::string, std::u16string, std::less<>> TagNamesFor(const std::u16string& source) {
  std::map<std::string, std::u16string, std::less<>> names;
  std::u16string folder = platform::CanonicalPath(source);
  for (int level = 0; level < kMostLevels; ++level) {
    if (const auto file = SettingsFileOf(folder); file.ok()) {
      for (const auto& [key, name] : SettingsBelow(kTags, *file)) {
        if (key.ends_with(kTagName) && key.size() > kTagName.size()) {
          names[platform::ToLowerAscii(key.substr(0, key.size() - kTagName.size()))] =
              platform::Utf8ToUtf16(name);
        }
      }
      break;
    }
    std::u16string parent = platform::ParentOfPath(folder);
    if (parent == folder) break;
    folder = std::move(parent);
  }
  return names;
}

}  // namespace parvane::desk
