#include "desk/mail_finder.h"

#include <algorithm>
#include <map>
#include <utility>

#include <fmt/format.h>

#include "desk/format.h"
#include "desk/mail_files.h"
#include "desk/source_kinds.h"
#include "desk/source_names.h"
#include "desk/source_plan.h"
#include "desk/thunderbird_profiles.h"
#include "engine/file_kinds.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/system.h"
#include "platform/text.h"
#include "platform/time.h"

namespace parvane::desk {
namespace {

using factory::SourceKind;
using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileSystem;
using platform::JoinPath;

constexpr int kPersonalLevels = 4;
constexpr std::size_t kMostEntries = 400'000;
constexpr std::uint64_t kMostMilliseconds = 60'000;
constexpr std::size_t kMostPlaces = 500;
// A folder of more is a heap of files, whose names are all that is looked at.
constexpr std::size_t kMostEntriesLookedInto = 2'000;
constexpr int kMostBeginningsRead = 100;  // of one folder's files

FileSystem& Files() { return FileSystem::Default(); }

// Below the home; what is there has mail and nothing else in it.
struct MailHome {
  std::u16string_view path;
  std::u16string_view name;  // of who keeps it; empty: that of the folder
};
constexpr MailHome kInHome[] = {
    {u"Library/Mail", u"Apple Mail"},
    {u"Maildir", u""},
    {u".maildir", u""},
    {u"Mail", u""},
    {u"mail", u""},
    {u".mail", u""},
    {u".evolution/mail/local", u"Evolution"},
    {u".kde/share/apps/kmail/mail", u"KMail"},
    {u".kde4/share/apps/kmail/mail", u"KMail"},
    {u".var/app/org.gnome.Evolution/data/evolution/mail/local", u"Evolution"},
};
constexpr MailHome kInLocalData[] = {
    {u"evolution/mail/local", u"Evolution"},
    {u"local-mail", u"KMail"},
    {u"mail", u""},
    {u"Microsoft/Windows Live Mail", u"Windows Live Mail"},
    {u"Microsoft/Windows Mail", u"Windows Mail"},
};

PlaceKind PlaceKindOf(SourceKind kind) {
  switch (kind) {
    case SourceKind::kThunderbird:
      return PlaceKind::kThunderbird;
    case SourceKind::kAppleMail:
      return PlaceKind::kAppleMail;
    case SourceKind::kMaildir:
      return PlaceKind::kMaildir;
    case SourceKind::kMh:
      return PlaceKind::kMh;
    case SourceKind::kEml:
      return PlaceKind::kEml;
    case SourceKind::kTakeout:
    case SourceKind::kArchive:
      return PlaceKind::kTakeout;
    case SourceKind::kMbox:
      break;
  }
  return PlaceKind::kMbox;
}

SourceKind SourceKindOf(PlaceKind kind) {
  for (const SourceKind source :
       {SourceKind::kThunderbird, SourceKind::kAppleMail, SourceKind::kMaildir, SourceKind::kMh,
        SourceKind::kEml, SourceKind::kTakeout}) {
    if (PlaceKindOf(source) == kind) return source;
  }
  return SourceKind::kMbox;
}

platform::Result<SourcePlan> Recognised(const std::u16string& path) {
  SourceOptions options;
  options.sources = {path};
  return RecogniseSources(options);
}

// So that no link to somewhere else is what makes it a place, and no search of all that is in it.
bool HasMailNearby(const std::u16string& top) {
  constexpr std::size_t kMostFolders = 300;
  std::deque<std::u16string> waiting = {top};
  for (std::size_t looked = 0; !waiting.empty() && looked < kMostFolders; ++looked) {
    const std::u16string folder = std::move(waiting.front());
    waiting.pop_front();
    const auto entries = Files().List(folder);
    if (!entries.ok()) continue;
    const FolderEvidence here = LookInto(folder, *entries);
    if (KindOfTree(here)) return true;
    for (const DirectoryEntry& entry : *entries) {
      if (entry.kind == FileKind::kFolder && !entry.link)
        waiting.push_back(JoinPath(folder, entry.name));
    }
  }
  return false;
}

// "V10": a copy of Apple Mail's folder has one of these in it.
bool IsAppleVersion(std::u16string_view name) {
  return name.size() > 1 && name.size() < 4 && name[0] == u'V' &&
         std::ranges::all_of(name.substr(1), [](char16_t c) { return c >= u'0' && c <= u'9'; });
}

bool IsIdle(const DirectoryEntry& entry) {
  return entry.link || entry.name.starts_with(u'.') || entry.name == u"node_modules";
}

// "x1y2z3.default-release" is "default-release".
std::u16string NameOfProfile(std::u16string_view path) {
  const std::u16string name = platform::FileNameOfPath(path);
  const std::size_t dot = name.find(u'.');
  return u"Thunderbird (" + (dot == name.npos ? name : name.substr(dot + 1)) + u")";
}

std::string DetailOfProfile(const std::u16string& path) {
  const auto used = Files().Inspect(JoinPath(path, u"prefs.js")).modified;
  std::string detail = fmt::format("last used {}", ShortTime(used).substr(0, 10));
  if (RunningProfileOf(path)) detail += ", Thunderbird has it open";
  return detail;
}

}  // namespace

std::string_view CodeOf(PlaceKind kind) {
  constexpr std::string_view kCodes[] = {"thunderbird", "maildir", "apple", "takeout",
                                         "mbox",        "mh",      "eml",   "pst"};
  return kCodes[static_cast<std::size_t>(kind)];
}

PlacesToLook PlacesOfThisUser() {
  using platform::FolderOfUser;
  using platform::UserFolder;
  PlacesToLook places;
  places.home = FolderOfUser(UserFolder::kHome).value_or(u"");
  places.settings = FolderOfUser(UserFolder::kSettings).value_or(u"");
  places.localData = platform::LocalApplicationDataFolder().value_or(u"");
  places.mailboxes = u"/var/mail";
  for (const UserFolder folder :
       {UserFolder::kDownloads, UserFolder::kDocuments, UserFolder::kDesktop}) {
    if (auto path = FolderOfUser(folder)) places.personal.push_back(*std::move(path));
  }
  return places;
}

MailFinder::MailFinder(const PlacesToLook& places) {
  const auto below = [](const std::u16string& folder, std::u16string_view path) {
    return folder.empty() ? std::u16string() : JoinPath(folder, path);
  };
  for (const std::u16string_view path :
       {u".thunderbird", u".icedove", u"snap/thunderbird", u"Library/Thunderbird"}) {
    Add(Look::kProfiles, below(places.home, path));
  }
  Add(Look::kProfiles, below(places.settings, u"Thunderbird"));
  AddProgramsIn(below(places.home, u".var/app"), u"");
  AddProgramsIn(below(places.localData, u"Packages"), u"LocalCache/Roaming/Thunderbird");
  for (const MailHome& mail : kInHome)
    Add(Look::kMail, below(places.home, mail.path), std::u16string(mail.name));
  for (const MailHome& mail : kInLocalData)
    Add(Look::kMail, below(places.localData, mail.path), std::u16string(mail.name));
  if (!places.home.empty())
    Add(Look::kMail, below(places.mailboxes, platform::FileNameOfPath(places.home)));
  for (const std::u16string& folder : places.personal) AddGround(folder, kPersonalLevels);
  AddGround(below(places.localData, u"Microsoft/Outlook"), 0);
  // Last: what is known by a better name has been found by then.
  AddGround(places.home, 1);
}

void MailFinder::Add(Look look, std::u16string path, std::u16string name) {
  if (!path.empty()) _tasks.push_back({look, std::move(path), std::move(name)});
}

void MailFinder::AddGround(std::u16string path, int levels) {
  if (!path.empty()) _tasks.push_back({Look::kPersonal, std::move(path), {}, levels, true});
}

// Each program has a folder named after it, which holds what would else be in the home.
void MailFinder::AddProgramsIn(const std::u16string& folder, std::u16string_view inner) {
  const auto entries = folder.empty() ? platform::Status() : Files().List(folder);
  if (!entries.ok()) return;
  for (const DirectoryEntry& entry : *entries) {
    if (entry.kind != FileKind::kFolder ||
        platform::FoldCase(entry.name).find(u"thunderbird") == std::u16string::npos) {
      continue;
    }
    const std::u16string program = JoinPath(folder, entry.name);
    Add(Look::kProfiles, inner.empty() ? program : JoinPath(program, inner));
  }
}

bool MailFinder::Step() {
  if (_tasks.empty() || _entries > kMostEntries || _milliseconds > kMostMilliseconds ||
      _found.size() >= kMostPlaces) {
    return false;
  }
  const std::uint64_t begin = platform::MonotonicMilliseconds();
  const Task task = std::move(_tasks.front());
  _tasks.pop_front();
  switch (task.look) {
    case Look::kProfiles:
      for (const std::u16string& profile : ProfilesIn(task.path)) Add(Look::kProfile, profile);
      break;
    case Look::kProfile:
      LookForProfile(task);
      break;
    case Look::kMail:
      LookForMail(task);
      break;
    case Look::kPersonal:
      LookThrough(task);
      break;
  }
  _milliseconds += platform::MonotonicMilliseconds() - begin;
  return true;
}

bool MailFinder::IsNew(const std::u16string& path) {
  return _seen.insert(platform::CanonicalPath(path)).second;
}

void MailFinder::LookForProfile(const Task& task) {
  AddSource(task.path, NameOfProfile(task.path), DetailOfProfile(task.path));
}

void MailFinder::LookForMail(const Task& task) {
  const FileKind kind = Files().Inspect(task.path).kind;
  if (kind == FileKind::kFile ? LooksLikeMailbox(task.path)
                              : kind == FileKind::kFolder && HasMailNearby(task.path)) {
    AddSource(task.path, task.name);
  }
}

void MailFinder::AddSource(const std::u16string& path, std::u16string name, std::string detail) {
  if (!IsNew(path)) return;
  const auto plan = Recognised(path);
  if (!plan.ok() || plan->stores.empty()) return;
  FoundPlace place;
  place.kind = PlaceKindOf(plan->stores.front().kind);
  if (Files().FileExists(JoinPath(path, u"prefs.js"))) place.kind = PlaceKind::kThunderbird;
  place.paths = {path};
  place.name = name.empty() ? NameForSource(path) : std::move(name);
  place.detail = std::move(detail);
  for (const SourceStore& store : plan->stores) {
    const MailExtent extent = ExtentOf(store.kind, store.path);
    place.bytes += extent.bytes;
    place.folders += extent.folders;
    place.more = place.more || extent.more;
    if (plan->stores.size() > 1 || place.kind == PlaceKind::kThunderbird)
      place.accounts.push_back({store.topName, extent.folders, extent.bytes});
  }
  // Set up and never used, or emptied.
  if (place.bytes > 0 || place.kind == PlaceKind::kTakeout) _found.push_back(std::move(place));
}

void MailFinder::AddFile(PlaceKind kind, const std::u16string& path, std::uint64_t bytes) {
  if (!IsNew(path)) return;
  FoundPlace place;
  place.kind = kind;
  place.paths = {path};
  place.name = platform::FileNameOfPath(path);
  place.bytes = bytes;
  place.folders = kind == PlaceKind::kMbox ? 1 : 0;
  _found.push_back(std::move(place));
}

void MailFinder::LookThrough(const Task& task) {
  const auto entries = Files().List(task.path);
  if (!entries.ok()) return;
  _entries += entries->size() + 1;
  if (IsPlace(task, *entries)) return;
  LookAtFiles(task.path, *entries);
  if (task.levels == 0) return;
  for (const DirectoryEntry& entry : *entries) {
    if (entry.kind == FileKind::kFolder && !IsIdle(entry) &&
        !_seen.contains(platform::CanonicalPath(JoinPath(task.path, entry.name)))) {
      _tasks.push_back({Look::kPersonal, JoinPath(task.path, entry.name), {}, task.levels - 1});
    }
  }
}

bool MailFinder::IsPlace(const Task& task, const std::vector<DirectoryEntry>& entries) {
  if (task.ground || entries.size() > kMostEntriesLookedInto) return false;
  const bool apple = std::ranges::any_of(entries, [&](const DirectoryEntry& entry) {
    if (entry.kind != FileKind::kFolder || !IsAppleVersion(entry.name)) return false;
    const auto inner = SearchFolder(JoinPath(task.path, entry.name));
    return inner.ok() && inner->appleMail;
  });
  const FolderEvidence here = LookInto(task.path, entries);
  if (here.profileRoot) {
    AddSource(task.path, NameOfProfile(task.path), DetailOfProfile(task.path));
    return true;
  }
  const auto letters = std::ranges::count_if(entries, engine::IsLetter);
  const bool ofLetters = here.layout == engine::MessageLayout::kLetters && letters > 1 &&
                         2 * static_cast<std::size_t>(letters) >= entries.size();
  const bool ofMail = here.indexFiles || here.subfolders || here.maildirs || here.gmailExport ||
                      here.layout == engine::MessageLayout::kMaildir ||
                      here.layout == engine::MessageLayout::kMh;
  if (apple || here.appleMail || ofLetters || ofMail) {
    AddSource(task.path, {});
    return true;
  }
  return false;
}

void MailFinder::LookAtFiles(const std::u16string& folder,
                             const std::vector<DirectoryEntry>& entries) {
  int beginnings = 0;
  for (const DirectoryEntry& entry : entries) {
    if (entry.kind != FileKind::kFile || entry.link || entry.size == 0 ||
        entry.name.starts_with(u'.')) {
      continue;
    }
    const std::u16string path = JoinPath(folder, entry.name);
    const std::u16string extension = platform::ExtensionOfPath(entry.name);
    const bool mayBeMailbox = extension.empty() || engine::HasExtension(entry.name, u".mbox") ||
                              engine::HasExtension(entry.name, u".mbx");
    if (engine::HasExtension(entry.name, u".pst")) {
      AddFile(PlaceKind::kPst, path, entry.size);
    } else if (mayBeMailbox && beginnings++ < kMostBeginningsRead && LooksLikeMailbox(path)) {
      AddFile(PlaceKind::kMbox, path, entry.size);
    }
  }
  AddExports(folder, entries);
}

// Archives named as those of Google are; the parts of one export are one place.
void MailFinder::AddExports(const std::u16string& folder,
                            const std::vector<DirectoryEntry>& entries) {
  constexpr std::u16string_view kPrefix = u"takeout-";
  std::map<std::u16string, FoundPlace> exports;
  for (const DirectoryEntry& entry : entries) {
    if (entry.kind != FileKind::kFile || !engine::IsNamedLikeAnArchive(entry.name) ||
        !platform::FoldCase(entry.name).starts_with(kPrefix)) {
      continue;
    }
    const std::u16string path = JoinPath(folder, entry.name);
    const std::u16string series = SeriesOf(path);
    FoundPlace& place = exports[series.empty() ? path : series];
    place.kind = PlaceKind::kTakeout;
    if (place.paths.empty()) place.name = entry.name;
    place.paths.push_back(path);
    place.bytes += entry.size;
  }
  for (auto& [series, place] : exports) {
    if (place.paths.size() > 1) place.detail = fmt::format("{} parts", place.paths.size());
    if (IsNew(place.paths.front())) _found.push_back(std::move(place));
  }
}

std::optional<std::uint64_t> CountMessages(const FoundPlace& place,
                                           const std::function<bool()>& stop) {
  if (place.kind == PlaceKind::kPst) return std::nullopt;
  const std::u16string& path = place.paths.front();
  if (place.paths.size() > 1) return std::nullopt;
  const auto plan = Recognised(path);
  if (!plan.ok() || place.kind == PlaceKind::kTakeout)
    return CountMail(SourceKindOf(place.kind), path, stop);
  std::uint64_t sum = 0;
  for (const SourceStore& store : plan->stores) {
    const auto count = CountMail(store.kind, store.path, stop);
    if (!count) return std::nullopt;
    sum += *count;
  }
  return sum;
}

}  // namespace parvane::desk
