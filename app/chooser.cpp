#include "app/chooser.h"

#include <optional>
#include <string>
#include <utility>

#include "desk/destination.h"
#include "desk/file_chooser.h"
#include "desk/format.h"
#include "desk/source_names.h"
#include "desk/source_plan.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/system.h"

namespace parvane::app {
namespace {

using factory::SourceKind;
using platform::FileSystem;
using platform::UserFolder;

const char* CodeOf(SourceKind kind) {
  switch (kind) {
    case SourceKind::kThunderbird:
      return "thunderbird";
    case SourceKind::kAppleMail:
      return "apple";
    case SourceKind::kMaildir:
      return "maildir";
    case SourceKind::kMh:
      return "mh";
    case SourceKind::kEml:
      return "eml";
    case SourceKind::kArchive:
      return "archive";
    case SourceKind::kTakeout:
      return "takeout";
    case SourceKind::kMbox:
      break;
  }
  return "mbox";
}

Json EntryJson(const desk::ChooserEntry& entry) {
  Json json{{"name", Utf8(entry.name)}};
  Name(json, {entry.path});
  json["folder"] = entry.folder;
  json["bytes"] = entry.bytes;
  json["modified"] = desk::IsoTime(entry.modified);
  json["mail"] = entry.mail;
  return json;
}

// What a source is; throws a Refusal where nothing can be made of it.
std::string KindOf(const std::vector<std::u16string>& paths) {
  if (paths.size() == 1 && FileSystem::Default().FileExists(paths.front()) &&
      desk::CheckIsPst(paths.front()).ok()) {
    return "pst";
  }
  desk::SourceOptions options;
  options.sources = paths;
  const auto plan = desk::RecogniseSources(options);
  if (!plan.ok()) throw RefusalOf(plan.status());
  if (plan->stores.empty())
    throw Refusal{400, "unusable", platform::PathForDisplay(paths.front()) + ": holds no mail"};
  return CodeOf(plan->stores.front().kind);
}

// A name for the PST by which people know their mail again, which the folder of a profile is not.
std::u16string NameFor(const std::vector<std::u16string>& sources, const std::string& kind) {
  if (sources.size() != 1) return u"Mail";
  if (kind == "thunderbird") return u"Thunderbird";
  if (kind == "apple") return u"Apple Mail";
  if (kind == "takeout") return u"Gmail";
  return desk::NameForSource(sources.front());
}

std::u16string FolderForPsts() {
  for (const UserFolder wanted : {UserFolder::kDocuments, UserFolder::kHome}) {
    const auto folder = platform::FolderOfUser(wanted);
    if (folder && FileSystem::Default().FolderExists(*folder)) return *folder;
  }
  throw Refusal{404, "missing", "there is no home folder"};
}

}  // namespace

HttpAnswer Chooser::Browse(const Json& request) const {
  const std::u16string path = PathOf(request);
  if (!path.empty() && !IsWhole(path))
    throw Refusal{400, "request", "please give the whole path of the folder"};
  const auto listing = desk::ListForChooser(path);
  if (!listing.ok()) throw RefusalOf(listing.status());
  Json json;
  Name(json, {listing->path});
  json["parent"] = platform::PathForDisplay(listing->parent);
  json["parentId"] = listing->parent.empty() ? std::string() : IdOf({listing->parent});
  json["shortcuts"] = Json::array();
  for (const desk::ChooserShortcut& shortcut : desk::ChooserShortcuts(desk::PlacesOfThisUser())) {
    Json place{{"name", Utf8(shortcut.name)}};
    Name(place, {shortcut.path});
    json["shortcuts"].push_back(std::move(place));
  }
  json["entries"] = Json::array();
  for (const desk::ChooserEntry& entry : listing->entries)
    json["entries"].push_back(EntryJson(entry));
  json["more"] = listing->more;
  return Answered(json);
}

Json Chooser::Take(const Json& named) {
  const auto paths = PathsOf(named.is_string() ? Json{{"path", named}} : named);
  if (paths.empty() || !IsWhole(paths.front()))
    throw Refusal{400, "request", "please give the whole path"};
  std::string kind;
  _worker.Ask([&] { kind = KindOf(paths); });
  _chosen.Add(paths, kind);
  Json json;
  Name(json, paths);
  json["kind"] = kind;
  json["name"] = Utf8(platform::FileNameOfPath(paths.front()));
  return json;
}

HttpAnswer Chooser::Choose(const Json& request) {
  auto list = request.find("files");
  if (list == request.end()) list = request.find("paths");
  if (list == request.end() || !list->is_array() || list->empty())
    throw Refusal{400, "request", "no file is named"};
  Json sources = Json::array();
  for (const Json& named : *list) sources.push_back(Take(named));
  return Answered(Json{{"sources", std::move(sources)}});
}

HttpAnswer Chooser::Destination(const Json& request) {
  std::u16string path = PathOf(request);
  if (path.empty()) {
    std::vector<std::u16string> sources;
    if (const auto list = request.find("sources"); list != request.end() && list->is_array()) {
      for (const Json& named : *list) sources.push_back(PathOf(named));
    }
    desk::ConvertOptions options;
    options.destination = FolderForPsts();
    const std::string kind = sources.empty() ? std::string() : _chosen.KindOf(sources.front());
    const auto place = desk::CheckDestination(options, NameFor(sources, kind));
    if (!place.ok()) throw RefusalOf(place.status());
    path = place->path;
  }
  const auto free = platform::FreeSpace(platform::ParentOfPath(path));
  return Answered(
      Json{{"path", platform::PathForDisplay(path)}, {"free", free ? Json(*free) : Json(nullptr)}});
}

}  // namespace parvane::app
