// Which stores the sources on the command line stand for.
#pragma once

#include <string>
#include <vector>

#include "cli/options.h"
#include "engine/factory/store_factory.h"
#include "platform/status.h"

namespace parvane::cli {

// One source store to open.
struct SourceStore {
  CWLEngine::StoreType type = CWLEngine::kMBOXAssetStore;
  std::u16string path;
  // The folder that takes its mail; empty: the mail folders go directly under the PST's top.
  std::u16string topName;
  std::size_t source = 0;  // its place among those of the command line
};

struct SourcePlan {
  std::vector<SourceStore> stores;
  // Folders of a profile's accounts that lie outside of the profile; whether their mail is wanted
  // (and not converted already, or somebody else's) only the user knows.
  std::vector<std::u16string> elsewhere;
};

// Looks at every source:
//
//   a file                   must be an mbox (empty, or beginning with "From ")
//   a folder of .mbox files  becomes a folder of its own name
//   a Thunderbird profile    each account below its Mail/ and ImapMail/ becomes a folder
//   a folder of mail files   as Thunderbird keeps them ("Inbox" beside "Inbox.sbd"): the mail
//                            folders go directly under the PST's top; with several sources under
//                            the folder's name
//
// The status of the first source that cannot be used names it and says why.
platform::Result<SourcePlan> RecogniseSources(const ConvertOptions& options);

// Whether a file is there and begins with a separator line, as mailboxes do.
bool LooksLikeMailbox(std::u16string_view path);

// What a folder made for this path is called: the last component, without the extension of a
// mailbox file.
std::u16string NameForSource(std::u16string_view path);

}  // namespace parvane::cli
