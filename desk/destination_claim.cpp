#include "desk/destination_claim.h"

#include <array>
#include <span>
#include <string_view>
#include <utility>

#include "desk/same_file.h"
#include "platform/path.h"
#include "pstfile/check/integrity_checker.h"
#include "pstfile/ndb/unfinished.h"
#include "pstfile/store/store_name.h"

namespace parvane::desk {

using platform::FileKind;
using platform::FileSystem;
using platform::Status;
using platform::StatusCode;

namespace {

// Bytes of a file's name, on every system in use.
constexpr std::size_t kLongestName = 255;

// What a partial file holds until there is a PST in it.
constexpr std::string_view kNote = "Parvane is about to make a PST here.\n";

FileSystem& Machine() { return FileSystem::Default(); }

Status Refuse(StatusCode code, std::u16string_view path, std::string_view reason) {
  return {code, platform::PathForDisplay(path) + ": " + std::string(reason)};
}

Status ChangedMeanwhile(std::u16string_view path) {
  return Refuse(StatusCode::kExists, path,
                "was removed, renamed or replaced by another program during the conversion");
}

bool IsUnchanged(const platform::FileInformation& now, const platform::FileInformation& seen) {
  return IsSameFile(now, seen) && now.size == seen.size;
}

}  // namespace

std::u16string PartialPath(std::u16string_view path) {
  const std::u16string extension = platform::ExtensionOfPath(path);
  const std::u16string suffix = u".partial" + extension;
  std::u16string partial(path.substr(0, path.size() - extension.size()));
  // A long name is cut, in whole characters, so that there is room.
  while (platform::PathToNative(platform::FileNameOfPath(partial + suffix)).size() > kLongestName)
    partial.resize(partial.size() - ((partial.back() & 0xFC00) == 0xDC00 ? 2 : 1));
  return partial + suffix;
}

// ---- Claiming -----------------------------------------------------------------------------------

Status DestinationClaim::Take(const Destination& destination, const ConvertOptions& options) {
  _destination = destination;
  _overwrite = options.overwrite;
  _resume = options.resume;
  _lends = options.mapi == MapiChoice::kBuiltin;
  _path = GrowsApart() ? PartialPath(destination.file) : destination.file;
  if (destination.existed) {
    if (Status taken = TakeOld(); !taken.ok()) return taken;
    if (!GrowsApart() && _lends) {
      if (Status sound = CheckSound(_destination.path); !sound.ok()) return sound;
    }
  }
  if (GrowsApart()) {
    if (Status taken = TakePartial(); !taken.ok()) return taken;
  }
  // Another run may have finished between the first look and the claim.
  const bool there = Machine().Inspect(destination.file).kind != FileKind::kNone;
  if (there == destination.existed) return {};
  return Refuse(StatusCode::kExists, destination.file, "another program has just changed it");
}

Status DestinationClaim::TakeOld() {
  auto held = HeldFile::Take(_destination.file, FileSystem::OpenMode::kReadWrite);
  if (!held.ok()) {
    if (held.status().code() != StatusCode::kLocked) return held.status();
    return Refuse(StatusCode::kLocked, _destination.path, "another program has this PST open");
  }
  _oldSeen = (*held)->identity();
  if (GrowsApart()) {
    _old = *held;
  } else if (_lends) {
    _written = *held;
  }
  return {};
}

// Damage on the way to where mail is added would make it unreadable, or the damage worse.
Status DestinationClaim::CheckSound(std::u16string_view path) const {
  const Status sound = pstfile::CheckBeforeAppend(Machine(), path);
  if (sound.code() != StatusCode::kCorrupt) return sound;
  return Refuse(sound.code(), path,
                "is damaged (" + sound.message() +
                    "); nothing is added to it. Have it repaired first, with Outlook's repair "
                    "tool, or convert into a new PST");
}

Status DestinationClaim::TakePartial() {
  auto held = HeldFile::Take(_path, FileSystem::OpenMode::kCreateNew);
  if (held.ok()) {
    _written = *held;
    _ours = true;
    if (_lends) return _written->MakeBlank(kNote);
    // That it can be made is known now; another program's MAPI wants to make it itself.
    RemovePartial();
    _written.reset();
    _ours = true;
    return {};
  }
  if (held.status().code() != StatusCode::kExists && held.status().code() != StatusCode::kLocked)
    return Refuse(held.status().code(), _destination.path, held.status().message());
  held = HeldFile::Take(_path, FileSystem::OpenMode::kReadWrite);
  if (held.ok()) {
    // Held once, so that letting go of it closes it.
    _written = std::move(held).value();
    return JudgeLeftover();
  }
  if (held.status().code() != StatusCode::kLocked) {
    return Refuse(StatusCode::kExists, _path,
                  "is in the way: the new PST would grow under this name; rename or remove it (" +
                      held.status().message() + ")");
  }
  return Refuse(
      StatusCode::kLocked, _destination.path,
      "another run is making this PST at this moment, as " + platform::PathForDisplay(_path));
}

Status DestinationClaim::JudgeLeftover() {
  std::array<char, kNote.size()> start{};
  auto count = _written->file().ReadAt(0, std::as_writable_bytes(std::span(start)));
  if (!count.ok()) return count.status();
  const std::string_view text(start.data(), *count);
  const bool holdsNothing = text.empty() || text == kNote;
  const auto unfinished =
      holdsNothing ? platform::Result<bool>(true) : pstfile::IsUnfinished(_written->file());
  if (!_lends || !unfinished.ok() || !*unfinished) {
    return Refuse(
        StatusCode::kExists, _path,
        "is in the way: the new PST would grow under this name, and whether this file may "
        "go is not known; rename or remove it");
  }
  if (holdsNothing) return ReplaceLeftover();
  if (_resume) {
    _resumes = true;
    return CheckSound(_path);
  }
  if (!_overwrite) {
    return Refuse(
        StatusCode::kExists, _path,
        "is what an earlier run that did not finish has written; --resume goes on with it, "
        "--overwrite replaces it and starts afresh; to keep it, give it another name first");
  }
  auto size = _written->file().Size();
  if (!size.ok()) return size.status();
  _leftover = *size;
  return {};
}

// By a file of this run's own making: into the old one others may look, whoever made it, and its
// name may be a link.
Status DestinationClaim::ReplaceLeftover() {
  if (!_written->IsAt(_path)) return ChangedMeanwhile(_path);
  if (Status removed = Machine().Remove(_path); !removed.ok()) return removed;
  // On some systems its name is free only then.
  _written.reset();
  auto held = HeldFile::Take(_path, FileSystem::OpenMode::kCreateNew);
  if (!held.ok()) return held.status();
  _written = *held;
  _ours = true;
  return _written->MakeBlank(kNote);
}

Status DestinationClaim::Begin() {
  if (_leftover) {
    if (Status replaced = ReplaceLeftover(); !replaced.ok()) return replaced;
  }
  if (!_written) return {};
  _lent = std::make_unique<LentFiles>(_path, _written);
  // Mail that only some may read is not shown to others while it is being written.
  return _old ? platform::CopyAccessRights(_destination.file, _path) : Status();
}

// ---- The end ------------------------------------------------------------------------------------

DestinationClaim::~DestinationClaim() {
  if (_written && _written->blank()) RemovePartial();
}

Status DestinationClaim::CheckUnchanged() const {
  if (_written && !_written->IsAt(_path)) return ChangedMeanwhile(_path);
  if (!GrowsApart()) {
    return IsSameFile(Machine().Inspect(_destination.file), _oldSeen)
               ? Status()
               : ChangedMeanwhile(_destination.file);
  }
  if (_old && !IsUnchanged(Machine().Inspect(_destination.file), _oldSeen))
    return ChangedMeanwhile(_destination.file);
  return {};
}

Status DestinationClaim::Finish() {
  if (Status unchanged = CheckUnchanged(); !unchanged.ok()) return unchanged;
  if (GrowsApart()) {
    if (Status named = TakeName(); !named.ok()) return named;
  }
  _ours = false;
  TakeMarkOff();
  return {};
}

// Only now, so that what is left of a run that is killed before can be told. The file is whole,
// whether this succeeds or not: under its own name the mark means nothing. Who adds to an
// unfinished PST has made it their own.
void DestinationClaim::TakeMarkOff() {
  Status ignored;
  if (_written) {
    ignored = pstfile::MarkFinished(_written->file());
  } else if (GrowsApart()) {
    // Another program's MAPI has called the new store after the file it made.
    ignored = pstfile::RenameStore(Machine(), _destination.file, platform::StemOfPath(_path),
                                   platform::StemOfPath(_destination.file));
  } else if (auto file = Machine().Open(_destination.file, FileSystem::OpenMode::kReadWrite);
             file.ok()) {
    ignored = pstfile::MarkFinished(**file);
  }
}

Status DestinationClaim::TakeName() {
  if (_old) {
    if (Status kept = platform::CopyAccessRights(_destination.file, _path); !kept.ok()) return kept;
    // A file that is open cannot be replaced everywhere.
    _old.reset();
  }
  Status renamed = Machine().Rename(_path, _destination.file, /*replace=*/_destination.replaced);
  if (renamed.code() == StatusCode::kExists) return ChangedMeanwhile(_destination.file);
  if (!renamed.ok()) return renamed;
  return Machine().FlushFolder(platform::ParentOfPath(_destination.file));
}

bool DestinationClaim::Abandon(bool empty) {
  if (!GrowsApart()) return false;
  if (empty) RemovePartial();
  const bool stays =
      (!empty || _resumes) && Machine().FileExists(_path) && (!_written || _written->IsAt(_path));
  if (stays) _ours = false;
  return stays;
}

// Never another's: what is removed is what this run holds, or what it had another's MAPI make under
// a name that was free.
void DestinationClaim::RemovePartial() {
  if (_ours && (_lends ? _written && _written->IsAt(_path) : Machine().FileExists(_path)))
    (void)Machine().Remove(_path).ok();
  _ours = false;
}

}  // namespace parvane::desk
