// Which part of an e-mail is what: the bodies, the attachments, the related items, the attached
// messages, and the leaves that are none of these.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "mime/email2.h"
#include "mime/parse_log.h"

namespace Tessary {

// A leaf that nothing hands out. `node` is null for a part too small to be kept.
struct LeftoverPart {
  const Email2* node = nullptr;
  std::uint64_t size = 0;  // bytes as they stand in the message
};

// Looks at a tree once and answers from then on. The tree must outlive it and not change.
class EmailStructure {
 public:
  explicit EmailStructure(const Email2& root);

  // The node whose body is the plain-text or the HTML body; null, with the reason in the log, when
  // there is none.
  const Email2* FindPlainTextBody(ParseLog& log) const;
  const Email2* FindHtmlBody(ParseLog& log) const;

  // All in document order.
  const std::vector<const Email2*>& attachments() const { return _attachments; }
  const std::vector<const Email2*>& relatedItems() const { return _relatedItems; }
  const std::vector<const Email2*>& attachedMessages() const { return _attachedMessages; }
  const std::vector<LeftoverPart>& leftovers() const { return _leftovers; }

 private:
  void CollectAlternatives(const Email2& node);
  void CollectMixedAlternatives(const Email2& node);
  void CollectChoiceAlternatives(const Email2& node);
  const Email2* FirstAlternative(std::string_view type) const;

  void CollectAttachments(const Email2& container);
  bool IsTakenFrom(const Email2& container, const Email2& child) const;
  static bool IsWalkedInto(const Email2& container, const Email2& child);
  bool CollectRelatedItems(const Email2& node);
  void CollectAttachedMessages(const Email2& node);
  void CollectLeftovers(const Email2& node, const std::vector<const Email2*>& used);

  const Email2& _root;
  std::vector<const Email2*> _alternatives;  // candidates for a body
  std::vector<const Email2*> _attachments;
  std::vector<const Email2*> _relatedItems;
  std::vector<const Email2*> _attachedMessages;
  std::vector<LeftoverPart> _leftovers;
};

}  // namespace Tessary
