#include "mime/email_structure.h"

#include <algorithm>
#include <functional>

#include "platform/text.h"

namespace Tessary {
namespace {

bool IsPlainOrUntyped(const Email2& node) {
  return node.contentType().empty() || node.TypeIs("text/plain");
}

bool IsAlternativeOrRelated(const Email2& node) {
  return node.TypeIs("multipart/alternative") || node.TypeIs("multipart/related");
}

bool IsRelatedOrFax(const Email2& node) {
  return node.TypeIs("multipart/related") || node.TypeIs("multipart/fax-message");
}

// Text that may be shown as a body.
bool IsBodyText(const Email2& node) {
  return !node.IsStrictAttachment() && node.TypeBeginsWith("text/");
}

// The node itself unless it is multipart: then the first text/plain below it, as its own body would
// be MIME text that nobody can read.
const Email2* FirstReadable(const Email2& node) {
  if (node.children().empty()) return node.IsMultipart() ? nullptr : &node;
  for (const Email2& child : node.children()) {
    const Email2* found = FirstReadable(child);
    if (found != nullptr && IsPlainOrUntyped(*found)) return found;
  }
  return nullptr;
}

// A message that is its own plain-text body, and has nothing else in it: what most mail is.
bool IsNothingButText(const Email2& root) {
  return root.children().empty() && IsPlainOrUntyped(root) && root.disposition().empty() &&
         root.name().empty();
}

bool IsBlank(std::string_view text) {
  return std::all_of(text.begin(), text.end(), parvane::platform::IsAsciiWhiteSpace);
}

}  // namespace

EmailStructure::EmailStructure(const Email2& root) : _root(root) {
  if (IsNothingButText(root)) return;
  CollectAlternatives(root);
  if (root.IsAttachment(nullptr)) {
    _attachments.push_back(&root);
  } else {
    CollectAttachments(root);
  }
  CollectRelatedItems(root);
  CollectAttachedMessages(root);

  ParseLog unread(ParseLog::Keeping::kNothing);
  std::vector<const Email2*> used;
  used.reserve(_attachments.size() + _relatedItems.size() + _attachedMessages.size() + 2);
  used = _attachments;
  used.insert(used.end(), _relatedItems.begin(), _relatedItems.end());
  used.insert(used.end(), _attachedMessages.begin(), _attachedMessages.end());
  used.push_back(FindPlainTextBody(unread));
  used.push_back(FindHtmlBody(unread));
  std::sort(used.begin(), used.end(), std::less<>());
  CollectLeftovers(root, used);
}

// ---- Bodies ------------------------------------------------------------------------------------

void EmailStructure::CollectAlternatives(const Email2& node) {
  if (&node == &_root && node.contentType().empty() && node.disposition().empty()) {
    _alternatives.push_back(&node);
  } else if (node.IsMixedOrReplace()) {
    CollectMixedAlternatives(node);
  } else if (node.TypeIs("multipart/signed")) {
    for (const Email2& child : node.children()) {
      if (child.TypeContains("pkcs7")) continue;
      CollectAlternatives(child);
      break;
    }
  } else if (node.children().empty()) {
    if (IsBodyText(node)) _alternatives.push_back(&node);
  } else if (IsAlternativeOrRelated(node)) {
    CollectChoiceAlternatives(node);
  }
}

void EmailStructure::CollectMixedAlternatives(const Email2& node) {
  for (const Email2& child : node.children()) {
    if (child.TypeIs("multipart/related")) CollectAlternatives(child);
  }
  for (const Email2& child : node.children()) {
    if (child.TypeIs("multipart/alternative")) CollectAlternatives(child);
  }
  for (const Email2& child : node.children()) {
    if (child.IsMixedOrReplace()) CollectAlternatives(child);
  }
  for (const Email2& child : node.children()) {
    if (IsBodyText(child)) _alternatives.push_back(&child);
  }
}

void EmailStructure::CollectChoiceAlternatives(const Email2& node) {
  for (const Email2& child : node.children()) {
    if (IsAlternativeOrRelated(child)) {
      CollectAlternatives(child);
    } else if (IsBodyText(child)) {
      _alternatives.push_back(&child);
    }
  }
  if (!node.TypeIs("multipart/alternative")) return;
  for (const Email2& child : node.children()) {
    if (child.IsMixedOrReplace()) CollectAlternatives(child);
  }
}

const Email2* EmailStructure::FirstAlternative(std::string_view type) const {
  const auto found = std::find_if(_alternatives.begin(), _alternatives.end(),
                                  [&](const Email2* node) { return node->TypeIs(type); });
  return found == _alternatives.end() ? nullptr : *found;
}

const Email2* EmailStructure::FindPlainTextBody(ParseLog& log) const {
  const Email2* first = _root.children().empty() ? nullptr : &_root.children().front();
  if (_root.TypeIs("multipart/report")) {
    if (const Email2* text = first == nullptr ? nullptr : FirstReadable(*first)) return text;
    if (first != nullptr) return first;
  } else if (!_root.TypeIs("multipart/alternative") && IsPlainOrUntyped(_root)) {
    return &_root;
  }
  const bool firstOfMixed = _root.IsMixedOrReplace() && first != nullptr;
  if (firstOfMixed && IsPlainOrUntyped(*first)) return first;
  if (const Email2* found = FirstAlternative("text/plain")) return found;
  if (firstOfMixed && first->TypeIs("multipart/report") && !first->children().empty()) {
    return &first->children().front();
  }
  log.Say("Did not find alternative based on content-type");
  return nullptr;
}

const Email2* EmailStructure::FindHtmlBody(ParseLog& log) const {
  if (_root.TypeIs("text/html")) {
    log.Say("This is an HTML-only email.  It is not multipart/alternative.");
    return &_root;
  }
  const Email2* found = FirstAlternative("text/html");
  if (found == nullptr) {
    log.Say("No HTML alternative.");
    log.Say("No HTML body!");
  }
  return found;
}

// ---- Attachments -------------------------------------------------------------------------------

void EmailStructure::CollectAttachments(const Email2& container) {
  for (const Email2& child : container.children()) {
    if (IsTakenFrom(container, child)) {
      _attachments.push_back(&child);
    } else if (IsWalkedInto(container, child)) {
      CollectAttachments(child);
    }
  }
}

bool EmailStructure::IsTakenFrom(const Email2& container, const Email2& child) const {
  if (container.IsMixedContainer()) return child.IsAttachment(&container);
  if (!IsRelatedOrFax(container)) return false;
  if (child.IsMultipart() || child.TypeIs("message/rfc822")) return false;
  if (child.TypeBeginsWith("application/")) {
    // Such a name is the address of a page element.
    return child.name().find('?') == std::string_view::npos ||
           child.name().find('&') == std::string_view::npos;
  }
  return child.DispositionIs("attachment");
}

bool EmailStructure::IsWalkedInto(const Email2& container, const Email2& child) {
  if (container.TypeIs("multipart/alternative") || container.TypeIs("multipart/signed")) {
    return true;
  }
  return container.IsMixedContainer() && (IsRelatedOrFax(child) || child.IsMixedOrReplace() ||
                                          child.TypeIs("multipart/alternative"));
}

// ---- Related items and messages ----------------------------------------------------------------

bool EmailStructure::CollectRelatedItems(const Email2& node) {
  if (node.TypeIs("multipart/related")) {
    for (std::size_t i = 1; i < node.children().size(); ++i) {
      _relatedItems.push_back(&node.children()[i]);
    }
    return true;
  }
  return std::any_of(node.children().begin(), node.children().end(),
                     [this](const Email2& child) { return CollectRelatedItems(child); });
}

void EmailStructure::CollectAttachedMessages(const Email2& node) {
  if (node.IsAttachedMessage()) _attachedMessages.push_back(&node);
  for (const Email2& child : node.children()) CollectAttachedMessages(child);
}

// ---- Leftovers ---------------------------------------------------------------------------------

// What is handed out is handed out with everything below it.
void EmailStructure::CollectLeftovers(const Email2& node, const std::vector<const Email2*>& used) {
  if (std::binary_search(used.begin(), used.end(), &node, std::less<>())) return;
  for (const std::string_view part : node.entity().droppedParts()) {
    _leftovers.push_back({nullptr, part.size()});
  }
  for (const Email2& child : node.children()) CollectLeftovers(child, used);
  if (!node.children().empty()) return;
  // A blank part without a name holds nothing; a part that is all header may hold its text there.
  const std::string_view body = node.entity().body();
  const bool lostText = body.empty() && !node.header().HasFields();
  const std::string_view content = lostText ? node.entity().headerText() : body;
  if (IsBlank(content) && node.filename().empty() && node.name().empty()) return;
  _leftovers.push_back({&node, content.size()});
}

}  // namespace Tessary
