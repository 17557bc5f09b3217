// What becomes of the labels that an export of mail has in place of folders.
#pragma once

namespace parvane::engine {

enum class LabelUse {
  kFolders,  // one copy of each message, in the folder of its most specific label; the other labels
             // are categories
  kCopies,   // one in the folder of each label
  kOff,      // none: a mailbox is a folder
};

}  // namespace parvane::engine
