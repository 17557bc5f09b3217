#include "mime/removed_attachments.h"

#include "platform/text.h"

namespace Tessary {
namespace {

constexpr std::string_view kText = "You deleted an attachment from this message.";
constexpr std::string_view kUrlField = "X-Mozilla-External-Attachment-URL";
constexpr std::string_view kMark = "Deleted: ";  // before the name of a deleted one

bool IsRemoved(const Email2& part) {
  if (part.header().Find("X-Mozilla-Altered") || part.header().Find(kUrlField) ||
      part.TypeIs("text/x-moz-deleted")) {
    return true;
  }
  std::string_view text = part.entity().body();
  while (!text.empty() && parvane::platform::IsAsciiWhiteSpace(text.front())) text.remove_prefix(1);
  return text.starts_with(kText);
}

}  // namespace

void CollectRemovedAttachments(const Email2& root, std::string_view messageCharset,
                               std::vector<RemovedAttachment>& removed) {
  for (const Email2& part : root.children()) {
    CollectRemovedAttachments(part, messageCharset, removed);
    if (!part.children().empty() || !IsRemoved(part)) continue;
    RemovedAttachment attachment;
    if (!part.filename().empty() || !part.name().empty()) {
      attachment.name = part.FileName(messageCharset);
      if (attachment.name.starts_with(kMark)) attachment.name.erase(0, kMark.size());
    }
    if (const MimeField* field = part.header().Find(kUrlField)) {
      std::string scratch;
      attachment.url = field->Value(scratch);
    }
    removed.push_back(std::move(attachment));
  }
}

}  // namespace Tessary
