#include "desk/parts.h"

#include <algorithm>

#include <fmt/format.h>

#include "desk/part_names.h"
#include "desk/report.h"
#include "engine/mapi_folder.h"
#include "mapi/com_pointer.h"
#include "mapi/folder.h"
#include "mapi/options.h"
#include "mapi/results.h"
#include "mapi/structures.h"
#include "mapi/tags.h"
#include "platform/file.h"
#include "platform/path.h"

namespace parvane::desk {

using platform::PathForDisplay;
using platform::Status;
using platform::StatusCode;
using QuelmarMIMEEngineCommon::IAssetFolderMutable;

namespace {

// How much room there is in a PST that was there is told once it has been changed: only then its
// space is looked at. So it is given the name that it has.
void LearnRoom(IAssetFolderMutable& top) {
  const auto* holder = dynamic_cast<const engine::IMapiFolderHolder*>(&top);
  mapi::IMAPIFolder* folder = holder ? holder->MapiFolder() : nullptr;
  mapi::SizedSPropTagArray<1> tags = {1, {mapi::PR_DISPLAY_NAME_W}};
  mapi::ULONG count = 0;
  mapi::MapiBuffer<mapi::SPropValue> name;
  if (!folder || mapi::Failed(folder->GetProps(tags.get(), 0, &count, name.Put()))) return;
  // Where this fails, so will the first folder or message, which tells.
  if (count == 1 && name->ulPropTag == mapi::PR_DISPLAY_NAME_W)
    folder->SetProps(1, name.get(), nullptr);
}

}  // namespace

struct Parts::Part {
  Part(const Parts& parts, Destination where)
      : destination(std::move(where)),
        writing(parts._options, destination, claim, parts._plan, parts._record, parts._witness,
                parts._progress) {}

  Destination destination;
  DestinationClaim claim;
  PstWriting writing;
  bool IsAddedTo() const { return destination.existed && !destination.replaced; }
  // Before this run wrote to it.
  bool HeldMail() const { return IsAddedTo() || claim.resumes(); }
  bool closed = false;  // and settled
  bool holdsMail = false;
  bool ended = false;     // its name taken, or not
  bool finished = false;  // ... taken
};

Parts::Parts(const ConvertOptions& options, FolderPlan& plan, ConversionRecord& record,
             Witness& witness, Logs& logs, Progress& progress)
    : _options(options),
      _plan(plan),
      _record(record),
      _witness(witness),
      _logs(logs),
      _progress(progress),
      _filter([this] {
        const PstAccount& account = _part->writing.account();
        return account.Full() ? 0 : account.RoomLeft();
      }) {}

Parts::~Parts() = default;

// ---- Taking -------------------------------------------------------------------------------------

ConvertOptions Parts::OptionsFor(const std::u16string& path) const {
  ConvertOptions options = _options;
  options.destination = path;
  // A year that is finished is gone on with as if it were not: all that is missing must come
  // behind.
  if (_options.split.byYear && _options.resume)
    options.append = platform::FileSystem::Default().FileExists(path);
  return options;
}

Status Parts::Take(std::u16string_view nameInFolder) {
  if (_options.split.bySize && (_options.resume || _options.append)) {
    // The last of those that are there may be another than the one that is named.
    const bool isFolder = platform::FileSystem::Default().Inspect(_options.destination).kind ==
                          platform::FileKind::kFolder;
    const std::size_t there = isFolder ? 0 : PartsThere(_options.destination);
    if (there > 0) {
      _base = _options.destination;
      _number = there + (_options.resume ? 1 : 0);
      for (std::size_t i = 1; i < _number; ++i) _toLookInto.push_back(PartPath(_base, i));
      return TakePart(PartPath(_base, _number));
    }
  }
  auto destination = CheckDestination(_options, nameInFolder);
  if (!destination.ok()) return destination.status();
  _base = destination->path;
  if (_options.split.byYear) {
    _destination = *std::move(destination);
    return {};
  }
  if (_options.split && !_options.overwrite) {
    if (const auto behind = PartsBehind(_base, 2); !behind.empty()) {
      return {StatusCode::kExists,
              PathForDisplay(behind.front()) +
                  ": exists already, and would be a part of this PST; --overwrite replaces it"};
    }
  }
  return TakePart(_base, nameInFolder);
}

Status Parts::TakePart(const std::u16string& path, std::u16string_view nameInFolder) {
  const bool first = _record.parts.empty() && path == _base;
  const ConvertOptions options = first ? _options : OptionsFor(path);
  auto destination = CheckDestination(options, nameInFolder);
  if (!destination.ok()) return destination.status();
  auto part = std::make_unique<Part>(*this, *std::move(destination));
  if (Status claimed = part->claim.Take(part->destination, options); !claimed.ok()) return claimed;
  _destination = part->destination;
  if (_record.parts.empty()) _record.appended = part->IsAddedTo();
  _before = std::exchange(_part, std::move(part));
  return {};
}

Status Parts::CheckYears(const std::vector<unsigned>& years) const {
  for (const unsigned year : years) {
    auto destination = CheckDestination(OptionsFor(YearPath(_base, year)), {});
    if (!destination.ok()) return destination.status();
  }
  return {};
}

const std::u16string& Parts::path() const {
  return _part ? _part->claim.path() : _destination.path;
}

std::optional<std::uint64_t> Parts::leftover() const {
  return _part ? _part->claim.leftover() : std::nullopt;
}

bool Parts::goesOn() const { return _part && _options.resume && _part->HeldMail(); }

bool Parts::resumes() const {
  return _part && (_part->claim.resumes() || (_options.resume && !_toLookInto.empty()));
}
const FoldersThere& Parts::there() const { return _part->writing.there(); }

// ---- Writing ------------------------------------------------------------------------------------

IAssetFolderMutable* Parts::Begin() {
  if (Status begun = _part->claim.Begin(); !begun.ok()) return Fail(begun);
  IAssetFolderMutable* top = _part->writing.Open();
  if (!top) return nullptr;
  if (Status looked = LookIntoFinished(); !looked.ok()) return Fail(looked);
  _before.reset();
  if (_options.split.bySize && _part->HeldMail()) LearnRoom(*top);
  _witness.BeginCopying();
  _filter.BeginPart(!_part->HeldMail());
  return top;
}

Status Parts::LookIntoFinished() {
  if ((!_options.skipExisting && !_options.resume) || _options.split.byYear) return {};
  if (_before && _before->finished && _before->HeldMail())
    _toLookInto.push_back(_before->destination.path);
  for (std::size_t i = _looked; i < _toLookInto.size(); ++i, ++_looked) {
    if (Status added = _finished.Add(_toLookInto[i]); !added.ok()) return added;
  }
  return {};
}

IAssetFolderMutable* Parts::GoOn() {
  EndPart();
  if (!_record.error.empty()) return nullptr;
  if (_options.split.byYear) {
    return Fail({StatusCode::kTooBig, PathForDisplay(_part->destination.path) +
                                          ": this year's mail takes more than one PST; choose it "
                                          "by --since and --until, and split it by size"});
  }
  if (_part->holdsMail) ++_number;
  return TakeAndBegin(PartPath(_base, _number));
}

IAssetFolderMutable* Parts::BeginYear(unsigned year) {
  if (_part) EndPart();
  if (!_record.error.empty()) return nullptr;
  return TakeAndBegin(YearPath(_base, year));
}

IAssetFolderMutable* Parts::TakeAndBegin(const std::u16string& path) {
  if (Status taken = TakePart(path); !taken.ok()) return Fail(taken);
  _logs.Both("The mail that follows goes to " + PathForDisplay(path));
  return Begin();
}

IAssetFolderMutable* Parts::Fail(const Status& status) {
  _record.Fail(status);
  return nullptr;
}

// ---- Ending -------------------------------------------------------------------------------------

void Parts::End() {
  if (!_part || _part->closed || !_part->writing.began()) return;
  _part->writing.Close();
  CountPart();
}

bool Parts::BreakOff(const std::string& why) {
  if (!_part) return false;
  _part->writing.Release();
  if (!_part->writing.began()) return false;
  _witness.EndFolder(why);
  if (_part->closed) return true;
  _witness.Settle();
  CountPart();
  return true;
}

// Once it is settled.
void Parts::CountPart() {
  _part->closed = true;
  _part->holdsMail = _part->HeldMail() || _part->writing.account().Committed() > 0;
  if (!_options.split) return;
  PartAccount account{_part->destination.path, _record.pstSize, _record.Written() - _written};
  _written = _record.Written();
  _writtenOf.resize(_record.folders.size());
  for (std::size_t i = 0; i < _record.folders.size(); ++i) {
    FolderAccount& folder = _record.folders[i];
    if (std::exchange(_writtenOf[i], folder.written) != folder.written)
      folder.parts.push_back(_record.parts.size());
  }
  if (_part->holdsMail) _record.parts.push_back(std::move(account));
  _record.pstSize = 0;
  for (const PartAccount& part : _record.parts) _record.pstSize += part.bytes;
}

void Parts::EndPart() {
  End();
  NamePart(_part->holdsMail);
}

void Parts::TakeName() {
  if (_part) NamePart(_part->holdsMail || (_record.parts.empty() && _number == 1));
  mapi::SetBuiltinOptions({});
  if (_options.split && _part && _part->writing.began()) NoteOldParts();
}

// When no MAPI has it open any more: finished, it takes its own name.
void Parts::NamePart(bool isWanted) {
  if (std::exchange(_part->ended, true)) return;
  mapi::SetBuiltinOptions({});
  const ExitCode outcome = Outcome(_record);
  if (isWanted && (outcome == ExitCode::kDone || outcome == ExitCode::kMailLeftBehind)) {
    Status finished = _part->claim.Finish();
    if (finished.ok()) return void(_part->finished = true);
    _record.Fail(RunProblem::kNameNotTaken, finished.message());
  }
  if (_part->claim.Abandon(!_part->holdsMail)) _record.partial = _part->claim.path();
}

// What is there under the names that further parts would have had is of an earlier run, whatever
// became of this one.
void Parts::NoteOldParts() {
  const auto isOfThisRun = [&](const std::u16string& path) {
    const std::u16string name = platform::FileNameOfPath(path);
    return path == _record.partial || std::ranges::any_of(_record.parts, [&](const auto& part) {
             return platform::FileNameOfPath(part.path) == name &&
                    (_part->finished || part.path != _part->destination.path);
           });
  };
  std::vector<std::u16string> there = _options.split.byYear
                                          ? YearsThere(_base)
                                          : PartsBehind(_base, _number + (_part->finished ? 1 : 0));
  std::erase_if(there, isOfThisRun);
  // Adding to one leaves the others in their own right.
  if (!_options.append) _record.oldParts = std::move(there);
}

}  // namespace parvane::desk
