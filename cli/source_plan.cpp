#include "cli/source_plan.h"

#include <array>
#include <deque>
#include <set>
#include <utility>

#include "cli/profile_settings.h"
#include "platform/file.h"
#include "platform/process.h"
#include "platform/text.h"

namespace parvane::cli {
namespace {

using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileSystem;
using platform::Result;
using platform::Status;
using platform::StatusCode;

// Searching a folder for mail stops after this many folders: whoever points at a whole disk by
// mistake gets an answer.
constexpr std::size_t kMostFoldersSearched = 20'000;

FileSystem& Files() { return FileSystem::Default(); }

bool SameName(std::u16string_view a, std::u16string_view b) {
  return platform::EqualsIgnoreCase(a, b);
}

std::u16string WithoutTrailingSeparators(std::u16string_view path) {
  while (path.size() > 1 && (path.back() == u'/' || path.back() == platform::kPathSeparator))
    path.remove_suffix(1);
  return std::u16string(path);
}

// An mbox begins with a separator line; an empty file is an empty mbox.
enum class Beginning { kMail, kEmpty, kOther };

Result<Beginning> LookAtBeginning(std::u16string_view path) {
  auto file = Files().Open(path, FileSystem::OpenMode::kRead);
  if (!file.ok()) return file.status();
  std::array<char, 5> start{};
  auto count = file.value()->ReadAt(0, std::as_writable_bytes(std::span(start)));
  if (!count.ok()) return count.status();
  if (*count == 0) return Beginning::kEmpty;
  return std::string_view(start.data(), *count) == "From " ? Beginning::kMail : Beginning::kOther;
}

// What the entries of one folder say about who keeps mail in it.
struct Evidence {
  bool mboxFiles = false;    // "name.mbox"
  bool mailFiles = false;    // no extension, begins with a separator line
  bool indexFiles = false;   // "name.msf" of a mailbox
  bool subfolders = false;   // "name" beside the folder "name.sbd"
  bool profileRoot = false;  // "prefs.js" beside "Mail" or "ImapMail"

  bool Thunderbird() const { return mailFiles || indexFiles || subfolders; }
};

Evidence LookInto(std::u16string_view folder, const std::vector<DirectoryEntry>& entries) {
  Evidence evidence;
  std::set<std::u16string_view> fileNames, folderNames;
  for (const DirectoryEntry& entry : entries)
    (entry.kind == FileKind::kFolder ? folderNames : fileNames).insert(entry.name);
  bool preferences = false, mailFolder = false;
  for (const DirectoryEntry& entry : entries) {
    const std::u16string extension = platform::ExtensionOfPath(entry.name);
    if (entry.kind == FileKind::kFolder) {
      mailFolder |= entry.name == u"Mail" || entry.name == u"ImapMail";
      evidence.subfolders |=
          extension == u".sbd" && fileNames.contains(platform::StemOfPath(entry.name));
    } else if (entry.kind == FileKind::kFile) {
      preferences |= entry.name == u"prefs.js";
      evidence.mboxFiles |= SameName(extension, u".mbox") && !entry.name.starts_with(u"._");
      // That of an account stands beside the account's folder.
      evidence.indexFiles |=
          SameName(extension, u".msf") && !folderNames.contains(platform::StemOfPath(entry.name));
      if (extension.empty() && entry.size > 0 && !evidence.mailFiles) {
        auto beginning = LookAtBeginning(platform::JoinPath(folder, entry.name));
        evidence.mailFiles = beginning.ok() && *beginning == Beginning::kMail;
      }
    }
  }
  evidence.profileRoot = preferences && mailFolder;
  return evidence;
}

// The nearest folder that says something decides for all: breadth first, each folder once.
Result<Evidence> SearchFolder(const std::u16string& top) {
  std::deque<std::u16string> waiting = {top};
  std::set<std::pair<std::uint64_t, std::uint64_t>> seen;
  for (std::size_t searched = 0; !waiting.empty() && searched < kMostFoldersSearched; ++searched) {
    const std::u16string folder = std::move(waiting.front());
    waiting.pop_front();
    const auto information = Files().Inspect(folder);
    if (!seen.emplace(information.device, information.identity).second) continue;
    auto entries = Files().List(folder);
    if (!entries.ok()) {
      if (folder == top) return entries.status();
      continue;
    }
    Evidence evidence = LookInto(folder, *entries);
    // Above the mail itself a profile's root is only that.
    if (folder != top) evidence.profileRoot = false;
    if (evidence.profileRoot || evidence.mboxFiles || evidence.Thunderbird()) return evidence;
    for (const DirectoryEntry& entry : *entries) {
      if (entry.kind == FileKind::kFolder)
        waiting.push_back(platform::JoinPath(folder, entry.name));
    }
  }
  return Evidence{};
}

// The accounts of a profile: one store for each folder below Mail/ and ImapMail/.
void AddAccounts(const std::u16string& container, std::vector<SourceStore>& stores) {
  auto entries = Files().List(container);
  if (!entries.ok()) return;
  for (const DirectoryEntry& entry : *entries) {
    if (entry.kind != FileKind::kFolder) continue;
    stores.push_back(
        {CWLEngine::kThunderbirdStore, platform::JoinPath(container, entry.name), entry.name});
  }
}

bool HoldsAccounts(std::u16string_view folder) {
  const std::u16string name = platform::FileNameOfPath(folder);
  return name == u"Mail" || name == u"ImapMail";
}

class Recogniser {
 public:
  explicit Recogniser(const ConvertOptions& options) : _options(options) {}

  Result<SourcePlan> Run() {
    for (const std::u16string& source : _options.sources) {
      const std::size_t before = _plan.stores.size();
      if (Status status = Add(WithoutTrailingSeparators(source)); !status.ok()) return status;
      for (std::size_t i = before; i < _plan.stores.size(); ++i)
        _plan.stores[i].source = static_cast<std::size_t>(&source - _options.sources.data());
    }
    return std::move(_plan);
  }

 private:
  Status Add(const std::u16string& path) {
    switch (Files().Inspect(path).kind) {
      case FileKind::kFolder:
        return AddFolder(path);
      case FileKind::kOther:
        return {StatusCode::kUnsupported,
                platform::PathForDisplay(path) + ": neither a file nor a folder"};
      default:
        return AddFile(path);
    }
  }

  Status AddFile(const std::u16string& path) {
    const auto beginning = LookAtBeginning(path);
    if (!beginning.ok()) return beginning.status();
    if (*beginning == Beginning::kOther) {
      return {
          StatusCode::kUnsupported,
          platform::PathForDisplay(path) + ": not an mbox file (it does not begin with \"From \")"};
    }
    _plan.stores.push_back({CWLEngine::kMBOXAssetStore, path, TopName(path)});
    return {};
  }

  Status AddFolder(const std::u16string& path) {
    auto evidence = SearchFolder(path);
    if (!evidence.ok()) return evidence.status();
    const bool mbox = _options.from == SourceChoice::kMbox ||
                      (_options.from == SourceChoice::kAuto && evidence->mboxFiles &&
                       !(evidence->mailFiles && evidence->indexFiles) && !evidence->profileRoot);
    if (mbox) {
      _plan.stores.push_back({CWLEngine::kMBOXAssetStore, path, TopName(path)});
      return {};
    }
    if (_options.from == SourceChoice::kAuto && !evidence->profileRoot && !evidence->Thunderbird())
      return {StatusCode::kNotFound, platform::PathForDisplay(path) + ": no mail found in it"};

    const std::size_t before = _plan.stores.size();
    if (evidence->profileRoot) {
      AddAccounts(platform::JoinPath(path, u"Mail"), _plan.stores);
      AddAccounts(platform::JoinPath(path, u"ImapMail"), _plan.stores);
      for (std::u16string& folder : AccountsElsewhere(path))
        _plan.elsewhere.push_back(std::move(folder));
    } else if (HoldsAccounts(path) && !DirectMail(path)) {
      AddAccounts(path, _plan.stores);
    }
    if (_plan.stores.size() == before) {
      const bool alone = _options.sources.size() == 1 && _options.name.empty();
      _plan.stores.push_back({CWLEngine::kThunderbirdStore, path, alone ? u"" : TopName(path)});
    }
    return {};
  }

  static bool DirectMail(const std::u16string& path) {
    auto entries = Files().List(path);
    return entries.ok() && LookInto(path, *entries).Thunderbird();
  }

  // With one source --name is its folder's name; with several it is the folder above them all.
  std::u16string TopName(std::u16string_view path) const {
    if (_options.sources.size() == 1 && !_options.name.empty()) return _options.name;
    return NameForSource(path);
  }

  const ConvertOptions& _options;
  SourcePlan _plan;
};

}  // namespace

std::u16string NameForSource(std::u16string_view path) {
  std::u16string name = platform::FileNameOfPath(path);
  if (name.empty() || name == u"." || name == u"..")
    return platform::FileNameOfPath(platform::CanonicalPath(path));
  if (Files().FolderExists(path)) return name;
  const std::u16string extension = platform::ExtensionOfPath(name);
  for (std::u16string_view mailbox : {u".mbox", u".mbx", u".mail"}) {
    const std::u16string stem = platform::StemOfPath(name);
    if (SameName(extension, mailbox) && !stem.empty()) return stem;
  }
  return name;
}

bool LooksLikeMailbox(std::u16string_view path) {
  const auto beginning = LookAtBeginning(path);
  return beginning.ok() && *beginning == Beginning::kMail;
}

Result<SourcePlan> RecogniseSources(const ConvertOptions& options) {
  return Recogniser(options).Run();
}

}  // namespace parvane::cli
