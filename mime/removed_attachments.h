// Attachments that the mail program took out of a message at its owner's wish. In their place
// stands a part that tells what was there:
//
//   field or text                       meaning
//   X-Mozilla-Altered                   "AttachmentDetached" or "AttachmentDeleted", then the date
//   X-Mozilla-External-Attachment-URL   where a detached one was saved
//   text/x-moz-deleted                  the content type of a deleted one
//   You deleted an attachment from this message.      how the part's text begins
#pragma once

#include <string>
#include <vector>

#include "mime/email2.h"

namespace Tessary {

struct RemovedAttachment {
  std::string name;  // UTF-8; may be empty
  std::string url;   // where it was saved; empty: it was deleted
};

// Appends those below `root`; messages inside it have theirs counted by themselves.
void CollectRemovedAttachments(const Email2& root, std::string_view messageCharset,
                               std::vector<RemovedAttachment>& removed);

}  // namespace Tessary
