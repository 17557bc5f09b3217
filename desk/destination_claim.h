// The destination's life from the first look at it to the end of the run: claimed exclusively
// before anything is decided, and still the same file when the result is told.
//
//   a new PST, or one that is replaced   grows as "mail.partial.pst" beside "mail.pst" and takes
//                                        that name when it is finished; until then a PST of that
//                                        name stays as it is
//   a PST that is added to               is written in place
//
// Both the file that is written and the one that is to be replaced are held (locked) all the time,
// so a second run on the same destination is refused.
//
// What a run leaves that did not finish can be told from everything else: it begins with a note of
// ours, or is a PST with the mark of an unfinished one, and nobody holds it. Only such a file is
// ever replaced, and a PST only with --overwrite. With --resume such a PST is gone on with.
//
// Another program's MAPI opens files itself. It is lent none: the partial file must not be there
// before, and only one run of a user goes at a time (OutlookTurn).
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "desk/destination.h"
#include "desk/lent_file.h"
#include "desk/options.h"
#include "platform/status.h"

namespace parvane::desk {

class DestinationClaim {
 public:
  ~DestinationClaim();

  // Holds the destination; changes nothing but for making the partial file.
  platform::Status Take(const Destination& destination, const ConvertOptions& options);
  // Where the PST is to be written.
  const std::u16string& path() const { return _path; }
  // Through which it is to be opened, once Begin was called; null: it is lent to nobody.
  platform::FileSystem* files() const { return _lent.get(); }
  // Bytes of what an unfinished run has left and this one is about to replace.
  std::optional<std::uint64_t> leftover() const { return _leftover; }

  // What path() has is the PST of an unfinished run, which this one goes on with.
  bool resumes() const { return _resumes; }

  // Right before the PST is made: what an unfinished run left goes now, and only those who may read
  // a PST that is replaced may read the new one.
  platform::Status Begin();
  // The PST is written and closed, and good: gives it its name. Fails, with the finished PST still
  // at path(), when somebody removed, renamed or replaced one of the files meanwhile.
  platform::Status Finish();
  // The PST is closed, and not to be had under its own name. True when its partial file stays;
  // without anything in it (`empty`), or when it is in place, there is none.
  bool Abandon(bool empty);

 private:
  platform::Status TakeOld();
  platform::Status CheckSound(std::u16string_view path) const;
  platform::Status TakePartial();
  platform::Status JudgeLeftover();
  platform::Status ReplaceLeftover();
  platform::Status CheckUnchanged() const;
  platform::Status TakeName();
  void TakeMarkOff();
  bool GrowsApart() const { return !_destination.existed || _destination.replaced; }
  void RemovePartial();

  Destination _destination;
  bool _overwrite = false;
  bool _resume = false;
  bool _lends = false;
  std::u16string _path;
  std::shared_ptr<HeldFile> _old;      // the PST that is there, unless another program's MAPI adds
  platform::FileInformation _oldSeen;  // ... what it was
  std::shared_ptr<HeldFile> _written;  // what path() leads to, if it is lent
  std::unique_ptr<LentFiles> _lent;
  std::optional<std::uint64_t> _leftover;
  bool _resumes = false;
  bool _ours = false;  // the partial file is this run's, and goes unless it is kept
};

// "mail.partial.pst" for "mail.pst".
std::u16string PartialPath(std::u16string_view path);

}  // namespace parvane::desk
