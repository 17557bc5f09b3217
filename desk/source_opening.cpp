#include "desk/source_opening.h"

#include <algorithm>
#include <map>
#include <string>

#include "desk/folder_choice.h"
#include "desk/modified_utf7.h"
#include "desk/profile_settings.h"
#include "engine/source_observer.h"
#include "platform/file.h"
#include "platform/path.h"

namespace parvane::desk {
namespace {

using engine::SkipReason;
using factory::SourceKind;
using platform::PathForDisplay;
using platform::StatusCode;
using QuelmarMIMEEngineCommon::IAssetFolder;
using QuelmarMIMEEngineCommon::IAssetStore;
using QuelmarMIMEEngineCommon::OperationResultCode;

constexpr std::u16string_view kSubfolders = u".sbd";
// As deep as the walk of one store goes.
constexpr std::ptrdiff_t kMostLevels = 100;

std::ptrdiff_t LevelsOf(const std::u16string& path) {
  return std::count(path.begin(), path.end(), platform::kPathSeparator);
}

FolderPlan::Naming NamingOf(SourceKind kind) {
  return kind == SourceKind::kThunderbird || kind == SourceKind::kMaildir
             ? FolderPlan::Naming::kOfServers
             : FolderPlan::Naming::kAsTheyAre;
}

// Which folders of the plan stand for the directories of one source. Those without mail of their
// own are not in the plan before something is found below them.
class DirectoryPlaces {
 public:
  DirectoryPlaces(FolderPlan& plan, const SourceStore& source, std::size_t firstFolder)
      : _plan(plan), _source(source) {
    // One without a source is the folder for all of it.
    if (firstFolder < plan.folders().size() && !plan.folders()[firstFolder].source)
      _places.emplace(source.path, firstFolder++);
    Add(firstFolder);
  }

  // Those of the plan from this one on.
  void Add(std::size_t firstFolder) {
    for (std::size_t i = firstFolder; i < _plan.folders().size(); ++i) {
      const PlannedFolder& folder = _plan.folders()[i];
      if (!folder.source) continue;
      std::u16string path = folder.source->FolderDiskPath().value_or(u"");
      if (folder.TakesMail()) path += kSubfolders;
      _places.emplace(std::move(path), i);
    }
  }

  std::size_t Of(const std::u16string& directory) {
    if (const auto known = _places.find(directory); known != _places.end()) return known->second;
    std::size_t place = kTopFolder;
    if (directory.size() <= _source.path.size()) {
      place = _plan.AddTop(_source.topName);
    } else {
      const std::size_t parent = Of(platform::ParentOfPath(directory));
      place = _plan.AddHolder(DecodeModifiedUtf7(platform::StemOfPath(directory)), parent);
    }
    _places.emplace(directory, place);
    return place;
  }

 private:
  FolderPlan& _plan;
  const SourceStore& _source;
  std::map<std::u16string, std::size_t> _places;
};

}  // namespace

bool SourceOpening::Open(const SourcePlan& sources) {
  TellOf(sources);
  if ((_options.sources.size() > 1 || sources.severalKinds) && !_options.name.empty())
    _plan.SetCommonTop(_options.name);
  std::size_t mailFolders = 0;
  std::string nothing;
  for (const SourceStore& source : sources.stores) {
    if (!OpenStore(source)) return false;
    // A source may be several stores, some of them empty.
    const bool last = &source == &sources.stores.back() || (&source)[1].source != source.source;
    if (!last) continue;
    if (_plan.MailFolders() == mailFolders) {
      const std::u16string& path = _options.sources[source.source];
      if (nothing.empty()) nothing = PathForDisplay(path) + ": no mail found in it";
      if (_options.sources.size() > 1) {
        _witness.PathSkipped(path, SkipReason::kUnusableSource,
                             {StatusCode::kNotFound, "no mail found in it"});
      }
    }
    mailFolders = _plan.MailFolders();
  }
  if (mailFolders == 0) {
    _record.Fail(RunProblem::kNoMailFound, nothing);
    return false;
  }
  return Choose();
}

bool SourceOpening::Choose() {
  const platform::Status chosen = ChooseFolders(_options, _plan);
  _record.renamed = _plan.renamed();
  if (!chosen.ok()) {
    _record.Fail(RunProblem::kNoFolderChosen, chosen.message());
    return false;
  }
  for (const PlannedFolder& folder : _plan.leftOut())
    _record.foldersNotChosen.Add({folder.path, folder.source->FolderDiskPath().value_or(u"")});
  return true;
}

void SourceOpening::TellOf(const SourcePlan& sources) {
  for (const SourcePlan::LeftBehind& entry : sources.leftBehind)
    _witness.PathSkipped(entry.path, entry.reason, entry.status);
  for (const std::u16string& profile : sources.inUse) _witness.ProfileInUse(profile);
}

bool SourceOpening::OpenStore(const SourceStore& source) {
  const std::size_t firstFolder = _plan.folders().size();
  Remember(source.path);
  std::unique_ptr<IAssetStore> made =
      source.parts.empty()              ? factory::CreateSource(source.kind, source.path)
      : source.kind == SourceKind::kEml ? factory::CreateLetters(source.parts)
                                        : factory::CreatePackedSource(source.parts, source.labels);
  const IAssetStore* store = Open(std::move(made), source.path);
  if (!store) return false;
  AddToPlan(source, *store);
  return OpenOrphans(source, firstFolder);
}

void SourceOpening::AddToPlan(const SourceStore& source, const Store& store) {
  const std::vector<IAssetFolder*> folders = store.GetStoreRootFolder()->GetSubFolders();
  const FolderPlan::Naming naming = NamingOf(source.kind);
  if (source.kind != SourceKind::kMaildir) {
    const bool labelled = !source.parts.empty() && source.labels != engine::LabelUse::kOff;
    const bool holdsItself = source.kind != SourceKind::kThunderbird &&
                             source.kind != SourceKind::kAppleMail && !labelled;
    return _plan.AddStore(store, source.topName, holdsItself, naming);
  }
  const bool alone = folders.size() == 1 && folders[0]->FolderDiskPath() == source.path;
  const std::u16string name = alone ? folders[0]->FolderName().value_or(u"") : u"";
  _plan.AddStore(store, source.topName.empty() ? name : source.topName, alone, naming);
}

// Folders that hold no mail themselves have no mailbox beside their ".sbd": "[Gmail].sbd" with all
// mail but the inbox. The walk of a profile passes over them, so each is opened as a source.
bool SourceOpening::OpenOrphans(const SourceStore& source, std::size_t firstFolder) {
  std::vector<std::u16string> orphans = _witness.TakeOrphans();
  if (orphans.empty()) return true;
  DirectoryPlaces places(_plan, source, firstFolder);
  for (std::size_t i = 0; i < orphans.size(); ++i) {
    const bool tooDeep = LevelsOf(orphans[i]) > LevelsOf(source.path) + kMostLevels;
    if (tooDeep || !Remember(orphans[i])) {
      _witness.PathSkipped(orphans[i],
                           tooDeep ? SkipReason::kTooDeep : SkipReason::kSymbolicLinkLoop, {});
      continue;
    }
    const std::size_t before = _plan.folders().size();
    const IAssetStore* store =
        Open(factory::CreateSource(SourceKind::kThunderbird, orphans[i]), orphans[i]);
    if (!store) return false;
    if (!store->GetStoreRootFolder()->GetSubFolders().empty())
      _plan.AddFoldersOf(*store, places.Of(orphans[i]), NamingOf(SourceKind::kThunderbird));
    places.Add(before);
    for (std::u16string& orphan : _witness.TakeOrphans()) orphans.push_back(std::move(orphan));
  }
  return true;
}

IAssetStore* SourceOpening::Open(std::unique_ptr<IAssetStore> store, const std::u16string& path) {
  engine::ObserveSource(*store, &_witness);
  engine::CutMailboxes(*store, &_mailboxWishes);
  AskForState(*store, path);
  const OperationResultCode opened = store->OpenStore(&_progress, &_witness, false, &_witness);
  if (opened == OperationResultCode::Completed) return _stores.emplace_back(std::move(store)).get();
  if (opened == OperationResultCode::Canceled) {
    _record.interrupted = true;
  } else {
    _record.Fail(RunProblem::kSourceNotOpened, PathForDisplay(path) + ": could not be opened");
  }
  return nullptr;
}

void SourceOpening::AskForState(IAssetStore& store, const std::u16string& path) {
  const bool marks = _options.keep.state || _options.skipDeleted || _options.wanted.skipJunk;
  if (!marks && !_options.keep.dates && _options.wanted.Everything()) return;
  auto wishes = std::make_unique<engine::StateWishes>();
  wishes->skipDeleted = _options.skipDeleted;
  wishes->datesOnly = !marks;
  if (_options.keep.state) wishes->tagNames = TagNamesFor(path);
  engine::OfferState(store, wishes.get());
  _wishes.push_back(std::move(wishes));
}

bool SourceOpening::Remember(const std::u16string& folder) {
  const auto information = platform::FileSystem::Default().Inspect(folder);
  return _opened.emplace(information.device, information.identity).second;
}

}  // namespace parvane::desk
