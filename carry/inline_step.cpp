#include "carry/inline_step.h"

#include <utility>

#include "carry/html_references.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/identifiers.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "mime/email_message.h"
#include "mime/text_decoding.h"
#include "platform/text.h"

namespace parvane::carry {
namespace {

using namespace mapi;
using convert::MailInHand;
using Tessary::Email2;
namespace properties = QuelmarMIMEEngineCommon::OrvMAPIUtilities;

// Of PSETID_Common ([MS-OXPROPS] 2.315).
constexpr LONG kSmartNoAttach = 0x8514;
// PR_ATTACH_FLAGS: rendered in the body ([MS-OXCMSG] 2.2.2.18).
constexpr ULONG kInBody = 4;
constexpr ULONG kNoPosition = 0xFFFFFFFF;

SPropValue True(ULONG tag) {
  SPropValue value = properties::NumberOf(tag, 0);
  value.Value.b = 1;
  return value;
}

bool HasScheme(std::string_view address) {
  const std::size_t end = address.find_first_of(":/?#");
  return end != address.npos && address[end] == ':';
}

std::string Resolved(const std::string& folder, std::string address) {
  return HasScheme(address) ? address : folder + address;
}

// Each of the part's names in references.
template <typename Take>
void ForEachName(const MailInHand& mail, const std::string& folder, const Email2& part, Take take) {
  if (const auto id = mail.email.PartField(part, "Content-ID"); id && !id->empty())
    take(ReferenceToContentId(*id));
  const auto location = mail.email.PartField(part, "Content-Location");
  if (location && !location->empty()) take(Resolved(folder, ComparableReference(*location)));
}

bool MayBeNamed(const Email2& part) {
  return part.children().empty() &&
         (part.header().MayHave("Content-ID") || part.header().MayHave("Content-Location"));
}

}  // namespace

void InlineStep::MailBegins(const MailInHand& mail, IMessage&) {
  // A conversion that broke off has left its own behind.
  const auto depth = static_cast<std::size_t>(mail.depth);
  if (_levels.size() > depth) _levels.resize(depth);
}

InlineStep::Level& InlineStep::LevelOf(const MailInHand& mail) {
  _levels.resize(static_cast<std::size_t>(mail.depth) + 1);
  return _levels.back();
}

std::unique_ptr<InlineStep::References> InlineStep::ReferencesOf(const MailInHand& mail) {
  auto references = std::make_unique<References>();
  Tessary::ParseLog unread(Tessary::ParseLog::Keeping::kNothing);
  const Tessary::EmailStructure& structure = mail.email.structure();
  const Email2* part = structure.FindHtmlBody(unread);
  Tessary::EmailMessage::Body html;
  if (part == nullptr || !mail.email.HtmlBody(unread, html)) return references;
  std::string& folder = references->folder;
  folder = mail.email.PartField(*part, "Content-Location").value_or("");
  folder.resize(folder.rfind('/') + 1);

  const auto add = [&](const Email2& named) {
    if (!MayBeNamed(named)) return;
    ForEachName(mail, folder, named,
                [&](std::string name) { references->names.try_emplace(std::move(name), false); });
  };
  for (const Email2* item : structure.relatedItems()) add(*item);
  for (const Email2* item : structure.attachments()) add(*item);
  for (const Tessary::LeftoverPart& leftover : structure.leftovers()) {
    if (leftover.node != nullptr) add(*leftover.node);
  }
  // As the conversion writes it.
  std::string decoded;
  std::string_view text = html.bytes.view();
  if (!Tessary::ReadsAsAscii(text, html.declaredCharset)) {
    decoded = Tessary::DecodeTextToUtf8(text, html.declaredCharset, html.fallbackCharset);
    text = decoded;
  }
  ForEachReference(text, [&](std::string_view reference) {
    const auto found = references->names.find(Resolved(folder, ComparableReference(reference)));
    if (found != references->names.end()) found->second = true;
  });
  return references;
}

bool InlineStep::IsShown(const MailInHand& mail, const References& references, const Email2& part) {
  bool shown = false;
  ForEachName(mail, references.folder, part, [&](const std::string& name) {
    const auto found = references.names.find(name);
    shown |= found != references.names.end() && found->second;
  });
  return shown;
}

void InlineStep::AttachmentWritten(const MailInHand& mail, const Email2& part,
                                   IAttach& attachment) {
  if (!MayBeNamed(part)) return;
  Level& level = LevelOf(mail);
  if (!level.references) level.references = ReferencesOf(mail);
  if (level.references->names.empty() || !IsShown(mail, *level.references, part)) return;
  ++level.hidden;
  _item.Count(MailCount::kInline);
  SPropValue values[] = {True(PR_ATTACHMENT_HIDDEN), properties::NumberOf(PR_ATTACH_FLAGS, kInBody),
                         properties::NumberOf(PR_RENDERING_POSITION, kNoPosition)};
  properties::SetProperties(attachment, static_cast<ULONG>(std::size(values)), values);
  const auto location = mail.email.PartField(part, "Content-Location");
  if (location) {
    properties::SetPropString(&attachment, PR_ATTACH_CONTENT_LOCATION_W,
                              platform::Utf8ToUtf16(*location).c_str());
  }
}

void InlineStep::MailWritten(const MailInHand& mail, IMessage& message) {
  const auto depth = static_cast<std::size_t>(mail.depth);
  if (_levels.size() <= depth) return;
  const ULONG hidden = _levels[depth].hidden;
  _levels.resize(depth);
  if (hidden == 0) return;
  ComPointer<IMAPITable> table;
  ULONG count = 0;
  if (Failed(message.GetAttachmentTable(0, table.Put())) || Failed(table->GetRowCount(0, &count)))
    return;
  if (count == hidden) HidePaperClip(message);
}

void InlineStep::HidePaperClip(IMessage& message) {
  if (!_smartNoAttach) {
    const ULONG tag = properties::GetNamedPropId(&message, kSmartNoAttach, &PSETID_Common);
    if (PropId(tag) == 0 || PropType(tag) == PT_ERROR)
      return NoteRefusal(MAPI_E_CALL_FAILED, PR_ATTACHMENT_HIDDEN);
    _smartNoAttach = PropTag(PT_BOOLEAN, PropId(tag));
  }
  SPropValue value = True(*_smartNoAttach);
  properties::SetProperties(message, 1, &value);
}

}  // namespace parvane::carry
