// How the mailboxes of a source are to be cut into messages, for who wishes it otherwise than every
// line that begins with "From " being a separator.
#pragma once

#include <cstdint>

namespace QuelmarMIMEEngineCommon {
class IAssetStore;
}

namespace parvane::engine {

enum class SeparatorRule {
  kStandard,  // every line that begins with "From "
  // A line that begins with "From " where more speaks for a separator: two of an empty line before
  // it, a date in it, and a header field behind it; or the mail program's index. Not what a message
  // holds whose Content-Length proves right, nor the first line of a patch.
  kStrict,
};

struct MailboxWishes {
  SeparatorRule separators = SeparatorRule::kStandard;
  // Mailboxes with something before their first separator are read from there, and those of the
  // kind MMDF, whose separators are lines of four bytes 0x01, as what they are. The observer hears
  // of the former.
  bool anyBeginning = false;
};

// For the mailboxes that the store opens from now on; with null again as without. Before OpenStore.
// `wishes` must outlive the store. False when the store is not one of the engine's.
bool CutMailboxes(QuelmarMIMEEngineCommon::IAssetStore& store, const MailboxWishes* wishes);

}  // namespace parvane::engine
