#include "desk/source_plan.h"

#include <algorithm>
#include <set>
#include <utility>

#include "desk/account_stores.h"
#include "desk/export_parts.h"
#include "desk/folder_evidence.h"
#include "desk/profile_settings.h"
#include "desk/source_kinds.h"
#include "desk/source_names.h"
#include "desk/thunderbird_profiles.h"
#include "engine/file_kinds.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using engine::LabelUse;
using engine::SkipReason;
using factory::SourceKind;
using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileSystem;
using platform::PathForDisplay;
using platform::Result;
using platform::Status;
using platform::StatusCode;

FileSystem& Files() { return FileSystem::Default(); }

std::u16string WithoutTrailingSeparators(std::u16string_view path) {
  while (path.size() > 1 && (path.back() == u'/' || path.back() == platform::kPathSeparator))
    path.remove_suffix(1);
  return std::u16string(path);
}

// Other programs have a folder "Mail" too.
bool HoldsAccounts(std::u16string_view folder, SourceKind kind) {
  const std::u16string name = platform::FileNameOfPath(folder);
  if (name != u"Mail" && name != u"ImapMail") return false;
  return kind == SourceKind::kThunderbird ||
         Files().FileExists(platform::JoinPath(platform::ParentOfPath(folder), u"prefs.js"));
}

// Why a file that does not begin like a mailbox is none.
Status NotAMailbox(const std::u16string& path) {
  const char* why =
      engine::IsNamedLikeAnArchive(path)
          ? "a compressed file or an archive of a kind that is not read; unpack it first"
      : engine::IsNamedLikeAMessage(path)
          ? "a message in a file of its own, which is not read; let the program that "
            "keeps it export it as mbox"
      : engine::IsNamedLikeForeignMail(path) ? "mail of another program, in a form that is not "
                                               "read; let that program export it as mbox"
      : engine::HasExtension(path, u".pst") ? "an Outlook data file, which is written here and not "
                                              "read as mail; Outlook opens it as it is"
                                            : "not an mbox file (it does not begin with \"From \")";
  return {StatusCode::kUnsupported, PathForDisplay(path) + ": " + why};
}

// A Mac keeps programs from its mail until they are let in, whosever they are.
Status WithAdvice(const std::u16string& path, const Status& status) {
  const std::u16string mail = platform::JoinPath(u"Library", u"Mail");
  const std::u16string below = platform::JoinPath(mail, u"");
  const bool mailOfMac = path.ends_with(mail) || path.find(below) != path.npos;
  if (status.code() != StatusCode::kAccessDenied || !mailOfMac) return status;
  return {status.code(),
          status.message() +
              "; allow it under System Settings, Privacy & Security, Full Disk Access (for the "
              "program in which you type this), or copy the folder in the Finder and convert the "
              "copy"};
}

class Recogniser {
 public:
  explicit Recogniser(const SourceOptions& options) : _options(options) {}

  Result<SourcePlan> Run() {
    Status first;
    for (const std::u16string& source : _options.sources) {
      const std::size_t before = _plan.stores.size();
      const std::u16string path = WithoutTrailingSeparators(source);
      if (Status status = Add(path); !status.ok()) {
        if (first.ok()) first = status;
        _plan.leftBehind.push_back({path, SkipReason::kUnusableSource, std::move(status)});
      }
      for (std::size_t i = before; i < _plan.stores.size(); ++i) {
        _plan.stores[i].source = static_cast<std::size_t>(&source - _options.sources.data());
        NoteIfRunning(_plan.stores[i].path);
      }
    }
    if (_plan.stores.empty()) return first;
    NoteMissingParts(_plan);
    return std::move(_plan);
  }

 private:
  Status Add(const std::u16string& path) {
    switch (Files().Inspect(path).kind) {
      case FileKind::kFolder:
        return AddFolder(path);
      case FileKind::kOther:
        return {StatusCode::kUnsupported, PathForDisplay(path) + ": neither a file nor a folder"};
      default:
        return AddFile(path);
    }
  }

  void NoteIfRunning(const std::u16string& path) {
    auto running = RunningProfileOf(path);
    if (running && std::ranges::find(_plan.inUse, *running) == _plan.inUse.end())
      _plan.inUse.push_back(*std::move(running));
  }

  Status AddFile(const std::u16string& path) {
    if (engine::HasExtension(path, u".emlx") &&
        _options.from.value_or(SourceKind::kAppleMail) == SourceKind::kAppleMail) {
      if (!Files().FileExists(path)) return LookAtBeginning(path).status();
      return AddAppleMail(path);
    }
    if (_options.from == SourceKind::kMaildir || _options.from == SourceKind::kMh) {
      return {StatusCode::kUnsupported,
              PathForDisplay(path) + ": a file; give the folder that it lies in"};
    }
    const auto beginning = LookAtBeginning(path);
    if (!beginning.ok()) {
      // Shells hand on a pattern that matches nothing as it is.
      if (path.find_first_of(u"*?") != path.npos && Files().Inspect(path).kind == FileKind::kNone)
        return {StatusCode::kNotFound, PathForDisplay(path) + ": no file matches this"};
      return beginning.status();
    }
    if (_options.from ? _options.from == SourceKind::kEml : engine::HasExtension(path, u".eml")) {
      AddLetter(path);
      return {};
    }
    const bool mail = *beginning == Beginning::kMail;
    if (_options.from != SourceKind::kMbox && _options.from != SourceKind::kThunderbird) {
      auto packed = factory::PackedSourceAt(path);
      if (!packed.ok()) return packed.status().WithContext(PathForDisplay(path));
      if (mail && (_options.labels || _options.from == SourceKind::kTakeout))
        *packed = SourceKind::kTakeout;
      // A mailbox whose labels nobody wants is a mailbox.
      if (*packed && !(mail && LabelsOf(**packed) == LabelUse::kOff))
        return AddPacked(path, **packed);
    }
    if (*beginning == Beginning::kOther && !factory::HasMailAnywhere(path))
      return NotAMailbox(path);
    _plan.stores.push_back({SourceKind::kMbox, path, TopName(path)});
    return {};
  }

  LabelUse LabelsOf(SourceKind kind) const {
    const bool labelled = kind == SourceKind::kTakeout || _options.from == SourceKind::kTakeout;
    return _options.labels.value_or(labelled ? LabelUse::kFolders : LabelUse::kOff);
  }

  // Parts of one export that are given together are one source.
  Status AddPacked(const std::u16string& path, SourceKind kind) {
    const LabelUse labels = LabelsOf(kind);
    const std::u16string series = SeriesOf(path);
    auto other = std::ranges::find_if(_plan.stores, [&](const SourceStore& store) {
      return !store.parts.empty() && !series.empty() && SeriesOf(store.path) == series;
    });
    if (other == _plan.stores.end()) {
      _plan.stores.push_back({kind, path, {}, {path}, labels});
      other = std::prev(_plan.stores.end());
    } else {
      other->parts.push_back(path);
      // One part of them may have no mail, or other people's.
      if (labels != LabelUse::kOff) other->labels = labels;
    }
    const bool alone = _options.name.empty() &&
                       std::ranges::all_of(_options.sources, [&](const std::u16string& source) {
                         return source == path || (!series.empty() && SeriesOf(source) == series);
                       });
    other->topName =
        alone && other->labels != LabelUse::kOff ? std::u16string() : TopName(other->path);
    return {};
  }

  // Those of one folder make one folder ("*.eml"), named like theirs.
  void AddLetter(const std::u16string& path) {
    const std::u16string folder = platform::ParentOfPath(path);
    const bool goesOn = !_plan.stores.empty() && _plan.stores.back().kind == SourceKind::kEml &&
                        !_plan.stores.back().parts.empty() &&
                        platform::ParentOfPath(_plan.stores.back().path) == folder;
    if (!goesOn) _plan.stores.push_back({SourceKind::kEml, path, TopName(path), {}});
    if (goesOn) _plan.stores.back().topName = NameForSource(folder);
    _plan.stores.back().parts.push_back(path);
  }

  Status AddFolder(const std::u16string& path) {
    auto entries = Files().List(path);
    if (!entries.ok()) return WithAdvice(path, entries.status());
    if (_options.from == SourceKind::kMaildir || _options.from == SourceKind::kMh ||
        _options.from == SourceKind::kEml) {
      AddMailFolder(*_options.from, path);
      return {};
    }
    const FolderEvidence here = LookInto(path, *entries);
    if (IsForAppleMail(here, _options.from)) return AddAppleMail(path);
    if (_options.from != SourceKind::kMbox && !here.profileRoot && !here.mboxFiles &&
        !here.Thunderbird() && here.layout == engine::MessageLayout::kNone) {
      const std::vector<std::u16string> profiles = ProfilesIn(path);
      if (profiles.size() == 1) return AddProfile(profiles.front());
      if (!profiles.empty()) {
        return {StatusCode::kUnsupported, PathForDisplay(path) +
                                              ": holds several Thunderbird profiles, give one of "
                                              "them: " +
                                              ListOfProfiles(profiles)};
      }
    }
    if (!_options.from && AddFoldersOfKinds(path, *entries, here)) return {};
    return AddFolderOfMail(path, here);
  }

  // What lies in a folder without mail of its own may be mail of several kinds: each folder in it
  // is then a store by itself. False when it is not so.
  bool AddFoldersOfKinds(const std::u16string& path, const std::vector<DirectoryEntry>& entries,
                         const FolderEvidence& here) {
    // More are no collection of mail, and would take long to look at.
    constexpr std::size_t kMostFolders = 50;
    if (here.Any() || HoldsAccounts(path, SourceKind::kThunderbird)) return false;
    std::vector<std::u16string> folders;
    std::set<std::u16string> empty;
    std::set<SourceKind> kinds;
    for (const DirectoryEntry& entry : entries) {
      if (entry.kind != FileKind::kFolder) continue;
      if (folders.size() == kMostFolders) return false;
      folders.push_back(platform::JoinPath(path, entry.name));
      const auto evidence = SearchFolder(folders.back());
      const auto kind = evidence.ok() ? KindOfTree(*evidence) : std::nullopt;
      if (kind) kinds.insert(*kind);
      if (evidence.ok() && !evidence->Any()) empty.insert(folders.back());
    }
    if (kinds.size() < 2) return false;
    _plan.severalKinds = true;
    for (const std::u16string& folder : folders) {
      const std::size_t before = _plan.stores.size();
      if (Status status = AddFolder(folder); !status.ok() && !empty.contains(folder))
        _plan.leftBehind.push_back({folder, SkipReason::kUnusableSource, std::move(status)});
      for (std::size_t i = before; i < _plan.stores.size(); ++i) {
        if (_plan.stores[i].topName.empty()) _plan.stores[i].topName = NameForSource(folder);
      }
    }
    return true;
  }

  Status AddFolderOfMail(const std::u16string& path, const FolderEvidence& here) {
    auto evidence = SearchFolder(path);
    if (!evidence.ok()) return evidence.status();
    if (IsForAppleMail(*evidence, _options.from)) return AddAppleMail(path);
    const bool labelled =
        _options.from == SourceKind::kTakeout || (!_options.from && evidence->gmailExport);
    if (labelled && LabelsOf(SourceKind::kTakeout) != LabelUse::kOff)
      return AddPacked(path, SourceKind::kTakeout);
    if (IsForMbox(*evidence, _options.from)) {
      _plan.stores.push_back({SourceKind::kMbox, path, TopName(path)});
      return {};
    }
    if (evidence->profileRoot) return AddProfile(path);
    const auto kind = _options.from ? _options.from : KindOf(*evidence);
    if (kind && HoldsAccounts(path, *kind) && !here.Thunderbird()) {
      const std::size_t before = _plan.stores.size();
      AddAccounts(path, AccountsOf(platform::ParentOfPath(path)), _plan);
      if (_plan.stores.size() > before) return {};
    }
    if (!kind) return {StatusCode::kNotFound, PathForDisplay(path) + ": " + NoMailText(*evidence)};
    AddMailFolder(*kind, path);
    return {};
  }

  Status AddAppleMail(const std::u16string& path) {
    // What is one mailbox has a folder of its name in any case.
    const bool named = _options.sources.size() == 1 && !_options.name.empty();
    const bool mailbox = engine::IsMailboxFolder(engine::NameOfSource(path));
    _plan.stores.push_back({SourceKind::kAppleMail, path,
                            mailbox && !named ? std::u16string() : NameAmongOthers(path)});
    return {};
  }

  void AddMailFolder(SourceKind kind, const std::u16string& path) {
    const bool itself = kind == SourceKind::kMh || kind == SourceKind::kEml;
    _plan.stores.push_back({kind, path, itself ? TopName(path) : NameAmongOthers(path)});
  }

  Status AddProfile(const std::u16string& profile) {
    const std::size_t before = _plan.stores.size();
    if (Status status = AddAccountsOfProfile(profile, _plan); !status.ok()) return status;
    if (_plan.stores.size() == before) AddMailFolder(SourceKind::kThunderbird, profile);
    return {};
  }

  // Of what holds several folders: when it is alone, they stand directly under the PST's top.
  std::u16string NameAmongOthers(std::u16string_view path) const {
    const bool alone = _options.sources.size() == 1 && _options.name.empty();
    return alone ? std::u16string() : TopName(path);
  }

  // With one source --name is its folder's name; with several it is the folder above them all.
  std::u16string TopName(std::u16string_view path) const {
    if (_options.sources.size() == 1 && !_options.name.empty() && !_plan.severalKinds)
      return _options.name;
    return NameForSource(path);
  }

  const SourceOptions& _options;
  SourcePlan _plan;
};

}  // namespace

bool LooksLikeMailbox(std::u16string_view path) {
  const auto beginning = LookAtBeginning(path);
  return beginning.ok() && *beginning == Beginning::kMail;
}

Result<SourcePlan> RecogniseSources(const SourceOptions& options) {
  return Recogniser(options).Run();
}

}  // namespace parvane::desk
