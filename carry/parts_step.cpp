#include "carry/parts_step.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "carry/part_names.h"
#include "convert/message_streams.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "mime/email_message.h"
#include "mime/text_decoding.h"
#include "mime/transfer_encoding.h"
#include "platform/text.h"

namespace parvane::carry {
namespace {

using namespace mapi;
using convert::MailInHand;
using convert::PartKind;
using Tessary::Email2;
namespace properties = QuelmarMIMEEngineCommon::OrvMAPIUtilities;

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

bool Succeeds(HRESULT result) {
  if (Failed(result)) NoteRefusal(result, PR_MESSAGE_ATTACHMENTS);
  return Succeeded(result);
}

bool IsNamed(const Email2& part) { return !part.filename().empty() || !part.name().empty(); }

bool IsBlank(std::string_view text) {
  return std::all_of(text.begin(), text.end(), platform::IsAsciiWhiteSpace);
}

// A part without a field of its own, whose text was taken for its header.
bool IsAllHeader(const Email2& part) {
  return part.entity().body().empty() && !part.header().HasFields();
}

class StreamSink : public Tessary::ByteSink {
 public:
  explicit StreamSink(convert::PropertyWriter& writer) : _writer(writer) {}
  bool Take(std::string_view bytes) override { return _writer.Write(bytes); }

 private:
  convert::PropertyWriter& _writer;
};

// A text without a name is read by people, so that it must tell its charset by itself; a file is
// what it is.
bool IsReadAsText(const Email2& part) {
  return !IsNamed(part) &&
         (part.contentType().empty() || part.TypeBeginsWith("text/") || IsAllHeader(part));
}

std::string TextOf(const MailInHand& mail, const Email2& part) {
  const Tessary::ByteSlice bytes =
      IsAllHeader(part) ? part.entity().headerSlice() : part.entity().DecodedBody();
  const std::string_view charset = part.entity().contentType().Get("charset");
  if (Tessary::ReadsAsAscii(bytes.view(), charset)) return std::string(bytes.view());
  return Tessary::DecodeTextToUtf8(bytes.view(), charset, mail.email.charset());
}

bool WriteData(IAttach& attachment, const Email2& part, const std::string* text) {
  convert::PropertyWriter writer(attachment, PR_ATTACH_DATA_BIN);
  if (text == nullptr) {
    StreamSink sink(writer);
    part.entity().DecodeBodyTo(sink);
    return writer.Commit();
  }
  // Calendars are UTF-8 whatever they say.
  if (!platform::IsAscii(*text) && !part.TypeIs("text/calendar")) writer.Write(kUtf8Mark);
  writer.Write(*text);
  return writer.Commit();
}

void WriteField(IAttach& attachment, const MailInHand& mail, const Email2& part,
                std::string_view field, ULONG tag) {
  const auto value = mail.email.PartField(part, field);
  if (value) properties::SetPropString(&attachment, tag, platform::Utf8ToUtf16(*value).c_str());
}

}  // namespace

void PartsStep::MailBegins(const MailInHand& mail, IMessage&) {
  // A conversion that broke off has left its own behind.
  const auto depth = static_cast<std::size_t>(mail.depth);
  if (_levels.size() > depth) _levels.resize(depth);
}

PartsStep::Level& PartsStep::LevelOf(const MailInHand& mail) {
  _levels.resize(static_cast<std::size_t>(mail.depth) + 1);
  return _levels.back();
}

// The raw text of a container is no file: what is in it counts.
bool PartsStep::TakePart(const MailInHand& mail, PartKind kind, const Email2& part,
                         IMessage& message) {
  if (kind != PartKind::kRelatedItem || part.children().empty()) return false;
  TakeLeaves(mail, part, message);
  return true;
}

void PartsStep::TakeLeaves(const MailInHand& mail, const Email2& container, IMessage& message) {
  for (const Email2& part : container.children()) {
    const std::string_view body = part.entity().body();
    if (!part.children().empty()) {
      TakeLeaves(mail, part, message);
    } else if (!part.IsAttachedMessage() && !IsBody(mail.email, part) &&
               (IsNamed(part) || !IsBlank(body))) {
      _all.TakeLeftover(mail, {&part, body.size()}, message);
    }
  }
}

bool PartsStep::TakeLeftover(const MailInHand& mail, const Tessary::LeftoverPart& part,
                             IMessage& message) {
  return part.node != nullptr && Write(mail, *part.node, message);
}

bool PartsStep::Write(const MailInHand& mail, const Email2& part, IMessage& message) {
  ULONG number = 0;
  ComPointer<IAttach> attachment;
  if (!Succeeds(message.CreateAttach(nullptr, 0, &number, attachment.Put())) || !attachment)
    return false;
  std::optional<std::string> text;
  if (IsReadAsText(part)) text = TextOf(mail, part);
  std::string name = NameOfPart(mail.email, part, text.value_or(""));
  if (!IsNamed(part)) name = Numbered(name, ++LevelOf(mail).names[name]);
  const std::u16string wide = platform::Utf8ToUtf16(name);
  RefusalsConcern(wide);
  properties::SetPropLong(attachment.get(), PR_ATTACH_METHOD, ATTACH_BY_VALUE);
  WriteField(*attachment, mail, part, "Content-ID", PR_ATTACH_CONTENT_ID_W);
  WriteField(*attachment, mail, part, "Content-Location", PR_ATTACH_CONTENT_LOCATION_W);
  properties::SetPropString(attachment.get(), PR_ATTACH_MIME_TAG_W,
                            platform::Utf8ToUtf16(mail.email.ContentType(part)).c_str());
  properties::SetPropString(attachment.get(), PR_ATTACH_LONG_FILENAME_W, wide.c_str());
  properties::SetPropString(attachment.get(), PR_DISPLAY_NAME_W, wide.c_str());
  const bool written = WriteData(*attachment, part, text ? &*text : nullptr);
  _all.AttachmentWritten(mail, part, *attachment);
  const bool saved = Succeeds(attachment->SaveChanges(FORCE_SAVE)) && written;
  RefusalsConcern({});
  if (saved) _item.Count(MailCount::kParts);
  return saved;
}

}  // namespace parvane::carry
