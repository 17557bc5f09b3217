// What the walks over directories of mail share: listing, the guard against loops, and telling the
// observer what is passed over.
#pragma once

#include <cstdint>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/callbacks.h"
#include "engine/source_observer.h"
#include "platform/file.h"
#include "sources/mbox_reading.h"

namespace parvane::sources {

class SourceWalk {
 public:
  // All three may be null.
  SourceWalk(QuelmarMIMEEngineCommon::IProgressPresenter* progress,
             QuelmarMIMEEngineCommon::ICancelable* cancelable, engine::SourceObserver* observer)
      : _progress(progress), _cancelable(cancelable), _observer(observer) {}

  bool Canceled() const { return _cancelable && _cancelable->Cancel(); }
  bool IsObserved() const { return _observer != nullptr; }

  // Shows the directory and lists it, sorted by name: nothing when it cannot be listed, when it
  // has been listed already (a link that leads back) or lies too deep, which the observer is told.
  // Entries that are neither file nor folder are left out. Every call is matched by one of Leave.
  std::vector<platform::DirectoryEntry> Enter(std::u16string_view directory);
  void Leave() { --_depth; }

  // True when the file is to be read as a mailbox; the observer learns why another one is not, and
  // whether it seems to hold mail all the same.
  bool AcceptMbox(std::u16string_view path);

  void Skipped(std::u16string_view path, engine::SkipReason reason,
               const platform::Status& status = {}) const;
  // For a file whose name is not one of this source's mailboxes: tells the observer whether it
  // looks like one all the same. Index files (".msf") that do not are not worth a word.
  void SkippedByName(std::u16string_view path) const;

 private:
  static constexpr int kMaximumDepth = 100;

  void SkippedUnlisted(std::u16string_view path) const;
  void SkippedSingleMessages(std::u16string_view directory,
                             const std::vector<platform::DirectoryEntry>& entries) const;

  QuelmarMIMEEngineCommon::IProgressPresenter* _progress;
  QuelmarMIMEEngineCommon::ICancelable* _cancelable;
  engine::SourceObserver* _observer;
  std::set<std::pair<std::uint64_t, std::uint64_t>> _seen;  // device and identity
  int _depth = 0;
};

}  // namespace parvane::sources
