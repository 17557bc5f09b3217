// Which stores the sources on the command line stand for.
#pragma once

#include <string>
#include <vector>

#include "desk/options.h"
#include "engine/label_use.h"
#include "engine/source_observer.h"
#include "factory/source_factory.h"
#include "platform/status.h"

namespace parvane::desk {

// One source store to open.
struct SourceStore {
  factory::SourceKind kind = factory::SourceKind::kMbox;
  std::u16string path;
  // The folder that takes its mail; empty: the mail folders go directly under the PST's top.
  std::u16string topName;
  // Of packed mail and of letters: the files that are one source; what becomes of their labels.
  std::vector<std::u16string> parts = {};
  engine::LabelUse labels = engine::LabelUse::kOff;
  std::size_t source = 0;  // its place among those of the command line
};

struct SourcePlan {
  struct LeftBehind {
    std::u16string path;
    engine::SkipReason reason{};
    platform::Status status;
  };

  std::vector<SourceStore> stores;
  // One of the sources is several stores, by the kinds of the mail in it.
  bool severalKinds = false;
  // Mail that belongs to the sources and is not in the stores: accounts that lie outside of their
  // profile (whether their mail is wanted, and not converted already, or somebody else's, only the
  // user knows) or cannot be reached; sources that cannot be used, beside others that can.
  std::vector<LeftBehind> leftBehind;
  // Profiles on which Thunderbird is at work.
  std::vector<std::u16string> inUse;
};

// Looks at every source:
//
//   a file                   must be an mbox (empty, or beginning with "From ")
//                            or packed: compressed, or an archive of mailboxes
//   an export of Gmail       its archives (several parts are one source), the folder that they
//   make,
//                            or its mailbox: the labels' folders go directly under the PST's top,
//                            with several sources under the export's name
//   a folder of .mbox files  becomes a folder of its own name
//   a Thunderbird profile    each account below its Mail/ and ImapMail/ becomes a folder
//   a folder of profiles     stands for its profile when there is only one
//   Apple Mail's folder      each account becomes a folder; so do exported mailboxes
//                            (NAME.mbox/mbox)
//   a maildir, or a folder   the mail folders go directly under the PST's top; with several sources
//   of maildirs              under the folder's name
//   an MH folder, a folder   becomes a folder of its own name
//   of .eml files, one such
//   a folder of mail files   as Thunderbird keeps them ("Inbox" beside "Inbox.sbd"): the mail
//                            folders go directly under the PST's top; with several sources under
//                            the folder's name
//
//   a folder without mail    each folder in it as if it were a source, when they hold mail of
//   of its own               several kinds
//
// A source that cannot be used does not stop the others. When none can be used, the status of the
// first names it and says why.
platform::Result<SourcePlan> RecogniseSources(const SourceOptions& options);

// Whether a file is there and begins with a separator line, as mailboxes do.
bool LooksLikeMailbox(std::u16string_view path);

}  // namespace parvane::desk
