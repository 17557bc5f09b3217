// What the walks over directories of mail share: listing, the guard against loops, and telling the
// observer what is passed over.
#pragma once

#include <algorithm>
#include <cstdint>
#include <exception>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/callbacks.h"
#include "engine/mailbox_wishes.h"
#include "engine/message_layouts.h"
#include "engine/source_observer.h"
#include "platform/file.h"
#include "sources/mbox_reading.h"

namespace parvane::sources {

class SourceWalk {
 public:
  // All may be null. Mailboxes are accepted as their user wishes.
  SourceWalk(QuelmarMIMEEngineCommon::IProgressPresenter* progress,
             QuelmarMIMEEngineCommon::ICancelable* cancelable, engine::SourceObserver* observer,
             const engine::MailboxWishes* wishes = nullptr)
      : _progress(progress),
        _cancelable(cancelable),
        _observer(observer),
        _anyBeginning(wishes && wishes->anyBeginning) {}
  // For messages in files of their own, those of the layout `reads`; the observer hears of
  // directories with others.
  SourceWalk(QuelmarMIMEEngineCommon::IProgressPresenter* progress,
             QuelmarMIMEEngineCommon::ICancelable* cancelable, engine::SourceObserver* observer,
             engine::MessageLayout reads)
      : _progress(progress), _cancelable(cancelable), _observer(observer), _reads(reads) {}

  // Runs a whole walk. A failure that is raised in it, for want of memory, ends it quietly where it
  // is; the observer is told that not all below `directory` was read.
  template <typename Walk>
  void Guard(std::u16string_view directory, Walk&& walk) {
    try {
      walk();
    } catch (const std::exception& error) {
      Skipped(directory, engine::SkipReason::kUnreadable,
              {platform::StatusCode::kTooBig, error.what()});
    }
  }

  // This source reads messages in files of their own; else the observer is told of such folders.
  void TakeSingleMessages() { _takesSingleMessages = true; }

  bool Canceled() const { return _cancelable && _cancelable->Cancel(); }

  // Shows the directory and lists it, sorted by name: nothing when it cannot be listed, when it is
  // a link to a folder that is read elsewhere (or leads back to one that this lies in) or lies too
  // deep, which the observer is told. Entries that are neither file nor folder are left out. Every
  // call is matched by one of Leave; each but the first is about an entry of the directory that was
  // entered last and not left.
  std::vector<platform::DirectoryEntry> Enter(std::u16string_view directory);
  void Leave() { _way.pop_back(); }

  // True when the file is to be read as a mailbox; the observer learns why another one is not, and
  // whether it seems to hold mail all the same.
  bool AcceptMbox(std::u16string_view path);

  void Skipped(std::u16string_view path, engine::SkipReason reason,
               const platform::Status& status = {}) const;
  // For a file whose name is not one of this source's mailboxes: tells the observer whether it
  // looks like one all the same. Of index files (".msf") it hears when the mailbox whose messages
  // they list is not there.
  void SkippedByName(std::u16string_view path) const;

 private:
  static constexpr std::size_t kMaximumDepth = 100;
  using Identity = std::pair<std::uint64_t, std::uint64_t>;  // device, and what is unique on it

  // A directory on the way to the one in hand.
  struct Step {
    std::u16string realPath;
    Identity identity;
    std::vector<std::u16string> links;  // names of its entries that are links, sorted

    bool HasLink(const std::u16string& name) const {
      return std::binary_search(links.begin(), links.end(), name);
    }
  };

  // Of a file that does not begin with a separator.
  bool AcceptBeginning(std::u16string_view path);
  void StepInto(std::u16string_view directory, const platform::FileInformation& information);
  // Why the directory entered last is not to be read, when it is not.
  std::optional<engine::SkipReason> ReasonNotToRead();
  void SkippedUnlisted(std::u16string_view path, bool link) const;
  void SkippedSingleMessages(std::u16string_view directory,
                             const std::vector<platform::DirectoryEntry>& entries) const;
  bool IsOfAnotherSource(const platform::DirectoryEntry& entry) const;

  QuelmarMIMEEngineCommon::IProgressPresenter* _progress;
  QuelmarMIMEEngineCommon::ICancelable* _cancelable;
  engine::SourceObserver* _observer;
  bool _anyBeginning = false;  // of mailboxes is accepted
  engine::MessageLayout _reads = engine::MessageLayout::kNone;
  std::vector<Step> _way;
  bool _linked = false;  // its last step, through a link
  bool _takesSingleMessages = false;
  std::set<Identity> _read;
};

}  // namespace parvane::sources
