#include "carry/tnef_message.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <span>

#include "convert/message_streams.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "mime/tnef/rtf_compression.h"
#include "mime/tnef/rtf_text.h"
#include "platform/text.h"
#include "platform/time.h"

namespace parvane::carry {
namespace {

using namespace mapi;

constexpr ULONG kFirstNamed = 0x8000;
constexpr ULONG kMostRecipients = 10'000;

// What Microsoft Mail called its classes ([MS-OXTNEF] 2.1.3.3.1).
struct OldClass {
  std::string_view old;
  const char16_t* now;
};
constexpr OldClass kOldClasses[] = {
    {"IPM.Microsoft Mail.Note", u"IPM.Note"},
    {"IPM.Microsoft Mail.Read Receipt", u"Report.IPM.Note.IPNRN"},
    {"IPM.Microsoft Mail.Non-Delivery", u"Report.IPM.Note.NDR"},
    {"IPM.Microsoft Schedule.MtgReq", u"IPM.Schedule.Meeting.Request"},
    {"IPM.Microsoft Schedule.MtgRespP", u"IPM.Schedule.Meeting.Resp.Pos"},
    {"IPM.Microsoft Schedule.MtgRespN", u"IPM.Schedule.Meeting.Resp.Neg"},
    {"IPM.Microsoft Schedule.MtgRespA", u"IPM.Schedule.Meeting.Resp.Tent"},
    {"IPM.Microsoft Schedule.MtgCncl", u"IPM.Schedule.Meeting.Canceled"},
};

std::u16string ClassNamed(std::string_view name) {
  name = tnef::UpToZero(name);
  const auto* known = std::ranges::find(kOldClasses, name, &OldClass::old);
  return known != std::end(kOldClasses) ? known->now : platform::Utf8ToUtf16(name);
}

struct IdRange {
  ULONG first;
  ULONG last;
};

bool IsIn(ULONG id, std::span<const IdRange> ranges) {
  return std::ranges::any_of(
      ranges, [id](const IdRange& range) { return id >= range.first && id <= range.last; });
}

// Of a message in a message: all but what its store of old computed or pointed at.
constexpr IdRange kCarried[] = {
    {0x0001, 0x0DFF}, {0x0E06, 0x0E07}, {0x0E1D, 0x0E1D}, {0x0E1F, 0x0E1F}, {0x0E2B, 0x0E2B},
    {0x1000, 0x2FFF}, {0x3001, 0x300B}, {0x3010, 0x3015}, {0x3A00, 0x3AFF}, {0x3FDE, 0x3FDF},
    {0x3FF1, 0x3FF1}, {0x3FFD, 0x3FFD}, {0x5900, 0x5FFF},
};
// What makes a message a meeting, besides its class and the named ones: PR_START_DATE,
// PR_END_DATE, PR_OWNER_APPT_ID, PR_RESPONSE_REQUESTED.
constexpr IdRange kOfMeetings[] = {{0x0060, 0x0063}};
constexpr IdRange kOfRecipients[] = {
    {0x0C15, 0x0C15}, {0x0FFF, 0x0FFF}, {0x3001, 0x3003}, {0x300B, 0x300B},
    {0x3900, 0x3900}, {0x39FE, 0x39FF}, {0x3A20, 0x3A20}, {0x3A40, 0x3A40},
};

bool IsMeeting(std::u16string_view messageClass) {
  return messageClass.starts_with(u"IPM.Schedule.Meeting.") ||
         messageClass.starts_with(u"IPM.TaskRequest");
}

}  // namespace

// Those properties of a message that others depend on.
struct TnefTexts {
  std::u16string messageClass;
  std::optional<tnef::Property> body;
  std::optional<tnef::Property> html;
  std::string_view rtf;
  ULONG htmlCodePage = 0;
  bool hasSubject = false;
  bool hasSender = false;
  bool hasSent = false;
  bool hasReceived = false;
  bool hasFlags = false;
  bool whole = true;

  static TnefTexts Of(const tnef::Message& tnef);
  // Whether those who read plain text have nothing but the RTF.
  bool HasRtfOnly(const tnef::Message& tnef) const {
    return !rtf.empty() && !html && !body && tnef.body.empty();
  }

 private:
  void Note(const tnef::Property& property, unsigned codePage);
};

void TnefTexts::Note(const tnef::Property& property, unsigned codePage) {
  switch (property.id) {
    case PropId(PR_MESSAGE_CLASS_W):
      messageClass = TextOf(property, codePage);
      break;
    case PropId(PR_BODY_W):
      body = property;
      break;
    case PropId(PR_HTML):
      html = property;
      break;
    case PropId(PR_RTF_COMPRESSED):
      rtf = property.value;
      break;
    case PropId(PR_INTERNET_CPID):
      htmlCodePage = NumberIn(property);
      break;
    default:
      hasSubject |= property.id == PropId(PR_SUBJECT_W);
      hasSender |= property.id == PropId(PR_SENDER_NAME_W);
      hasSent |= property.id == PropId(PR_CLIENT_SUBMIT_TIME);
      hasReceived |= property.id == PropId(PR_MESSAGE_DELIVERY_TIME);
      hasFlags |= property.id == PropId(PR_MESSAGE_FLAGS);
  }
}

TnefTexts TnefTexts::Of(const tnef::Message& tnef) {
  TnefTexts texts;
  tnef::ByteReader reader(tnef.properties);
  tnef::PropertyReader list(reader);
  for (tnef::Property property; list.Next(property);) texts.Note(property, tnef.codePage);
  texts.whole = list.whole() || tnef.properties.empty();
  if (texts.messageClass.empty()) texts.messageClass = ClassNamed(tnef.messageClass);
  if (texts.messageClass.empty()) texts.messageClass = u"IPM.Note";
  if (texts.htmlCodePage == 0) texts.htmlCodePage = tnef.codePage;
  return texts;
}

namespace {

bool IsRtf(std::string_view compressed) {
  return tnef::DecompressRtf(compressed, [](std::string_view) { return true; });
}

// IsRtf, and what text it holds becomes the plain body.
bool WriteTextOfRtf(IMessage& message, std::string_view compressed) {
  std::optional<convert::PropertyWriter> writer;
  tnef::RtfText text([&](std::u16string_view piece) {
    if (!writer && std::ranges::all_of(piece, platform::IsWhiteSpace)) return;
    if (!writer) writer.emplace(message, PR_BODY_W);
    writer->Write({reinterpret_cast<const char*>(piece.data()), piece.size() * sizeof piece[0]});
  });
  const bool whole = tnef::DecompressRtf(compressed, [&](std::string_view piece) {
    text.Take(piece);
    return true;
  });
  text.End();
  if (writer) writer->Commit();
  return whole;
}

std::optional<std::uint64_t> TicksOf(std::string_view attribute) {
  const auto date = tnef::ReadDate(attribute);
  if (!date) return {};
  platform::SystemTime parts;
  parts.wYear = date->year;
  parts.wMonth = date->month;
  parts.wDay = date->day;
  parts.wHour = date->hour;
  parts.wMinute = date->minute;
  parts.wSecond = date->second;
  platform::FileTime time;
  if (!platform::SystemTimeToFileTime(parts, &time)) return {};
  return platform::FileTimeTicks(time);
}

// What older attributes say where no property does.
void AddOlder(const tnef::Message& tnef, const TnefTexts& texts, TnefProperties& out) {
  out.AddText(PR_MESSAGE_CLASS_W, texts.messageClass);
  if (!texts.hasSubject) out.AddText(PR_SUBJECT_W, TextOf(tnef.subject, tnef.codePage));
  if (const auto sent = TicksOf(tnef.dateSent); sent && !texts.hasSent)
    out.AddTime(PR_CLIENT_SUBMIT_TIME, *sent);
  if (const auto received = TicksOf(tnef.dateReceived); received && !texts.hasReceived)
    out.AddTime(PR_MESSAGE_DELIVERY_TIME, *received);
  if (!texts.hasFlags) out.AddNumber(PR_MESSAGE_FLAGS, MSGFLAG_READ);
  if (!texts.body) out.AddText(PR_BODY_W, TextOf(tnef.body, tnef.codePage));
  const auto from = tnef::ReadOriginator(tnef.from);
  if (!from || texts.hasSender) return;
  out.AddText(PR_SENDER_NAME_W, TextOf(from->name, tnef.codePage));
  out.AddText(PR_SENT_REPRESENTING_NAME_W, TextOf(from->name, tnef.codePage));
  if (from->address.empty()) return;
  for (const ULONG tag : {PR_SENDER_ADDRTYPE_W, PR_SENT_REPRESENTING_ADDRTYPE_W})
    out.AddText(tag, u"SMTP");
  for (const ULONG tag : {PR_SENDER_EMAIL_ADDRESS_W, PR_SENT_REPRESENTING_EMAIL_ADDRESS_W})
    out.AddText(tag, TextOf(from->address, tnef.codePage));
}

bool AddRecipient(IMessage& message, tnef::ByteReader& reader, unsigned codePage) {
  TnefProperties row(nullptr, codePage);
  tnef::PropertyReader list(reader);
  for (tnef::Property property; list.Next(property);) {
    if (IsIn(property.id, kOfRecipients)) row.Add(property, property.tag());
  }
  if (!list.whole() || row.values().empty()) return list.whole();
  ADRLIST rows{};
  rows.cEntries = 1;
  rows.aEntries[0].cValues = static_cast<ULONG>(row.values().size());
  rows.aEntries[0].rgPropVals = row.values().data();
  const HRESULT result = message.ModifyRecipients(MODRECIP_ADD, &rows);
  if (Failed(result)) NoteRefusal(result, PR_MESSAGE_RECIPIENTS);
  return Succeeded(result);
}

bool WriteRecipients(IMessage& message, const tnef::Message& tnef) {
  tnef::ByteReader reader(tnef.recipients);
  std::uint32_t count = 0;
  if (!reader.Take(count)) return tnef.recipients.empty();
  for (std::uint32_t i = 0; i < count; ++i) {
    if (i == kMostRecipients || !AddRecipient(message, reader, tnef.codePage)) return false;
  }
  return true;
}

bool HasText(IMessage& message, ULONG tag) {
  SizedSPropTagArray<1> wanted = {1, {tag}};
  ULONG count = 0;
  MapiBuffer<SPropValue> values;
  message.GetProps(wanted.get(), MAPI_UNICODE, &count, values.Put());
  if (!values || count != 1) return false;
  if (PropType(values[0].ulPropTag) == PT_ERROR) return values[0].Value.err != MAPI_E_NOT_FOUND;
  if (tag != PR_BODY_W) return true;
  const std::u16string_view text(values[0].Value.lpszW);
  return !std::ranges::all_of(text, platform::IsWhiteSpace);
}

void WriteHtml(IMessage& message, const tnef::Property& property) {
  const std::string_view html = property.value;
  const bool wide = property.type == PT_UNICODE;
  convert::WritePropertyStream(message, wide ? PR_BODY_HTML_W : PR_HTML,
                               wide ? html : tnef::UpToZero(html));
}

}  // namespace

ULONG TnefMessageWriter::TagOf(IMAPIProp& object, const tnef::Property& property) {
  if (!property.name) return property.tag();
  const ULONG id = _names.For(object, *property.name);
  _named &= id != 0;
  return id == 0 ? 0 : PropTag(property.type, id);
}

bool TnefMessageWriter::WriteBeside(IMessage& message, const tnef::Message& tnef) {
  const auto texts = TnefTexts::Of(tnef);
  const bool meeting = WriteMeeting(message, tnef, texts);
  const bool bodies = WriteBodies(message, tnef, texts);
  return WriteAttachments(message, tnef) && meeting && bodies && _named;
}

bool TnefMessageWriter::WriteMeeting(IMessage& message, const tnef::Message& tnef,
                                     const TnefTexts& texts) {
  if (!IsMeeting(texts.messageClass)) return true;
  TnefProperties out(&message, tnef.codePage);
  out.AddText(PR_MESSAGE_CLASS_W, texts.messageClass);
  tnef::ByteReader reader(tnef.properties);
  tnef::PropertyReader list(reader);
  for (tnef::Property property; list.Next(property);) {
    if (property.id < kFirstNamed && !IsIn(property.id, kOfMeetings)) continue;
    if (const ULONG tag = TagOf(message, property)) out.Add(property, tag);
  }
  out.Set();
  return out.whole();
}

// Of several bodies Outlook shows the best, and so the others need not be there.
bool TnefMessageWriter::WriteBodies(IMessage& message, const tnef::Message& tnef,
                                    const TnefTexts& texts) {
  bool whole = texts.whole;
  TnefProperties out(&message, tnef.codePage);
  const bool hasHtml = HasText(message, PR_BODY_HTML_A);
  const bool hasText = HasText(message, PR_BODY_W);
  if (texts.html && !hasHtml) {
    out.AddNumber(PR_INTERNET_CPID, texts.htmlCodePage);
    out.Set();
    WriteHtml(message, *texts.html);
  } else if (!texts.rtf.empty()) {
    const bool isBody = !hasHtml && !hasText && texts.HasRtfOnly(tnef);
    if (!(isBody ? WriteTextOfRtf(message, texts.rtf) : IsRtf(texts.rtf))) {
      whole = false;
    } else if (hasHtml) {
      whole = WriteRtfAsFile(message, texts.rtf) && whole;
    } else {
      out.AddBytes(PR_RTF_COMPRESSED, texts.rtf);
      out.AddTruth(PR_RTF_IN_SYNC, true);
    }
  }
  _referencesResolve = !hasHtml && (texts.html || !texts.rtf.empty());
  if (!hasText) {
    if (texts.body) {
      out.Add(*texts.body, texts.body->tag());
    } else {
      out.AddText(PR_BODY_W, TextOf(tnef.body, tnef.codePage));
    }
  }
  out.Set();
  return whole;
}

bool TnefMessageWriter::WriteWhole(IMessage& message, const tnef::Message& tnef) {
  const auto texts = TnefTexts::Of(tnef);
  const bool rtf = texts.rtf.empty() ||
                   (texts.HasRtfOnly(tnef) ? WriteTextOfRtf(message, texts.rtf) : IsRtf(texts.rtf));
  TnefProperties out(&message, tnef.codePage);
  AddOlder(tnef, texts, out);
  tnef::ByteReader reader(tnef.properties);
  tnef::PropertyReader list(reader);
  for (tnef::Property property; list.Next(property);) {
    if (property.id < kFirstNamed && !IsIn(property.id, kCarried)) continue;
    if (property.id == PropId(PR_RTF_COMPRESSED) && !rtf) continue;
    if (const ULONG tag = TagOf(message, property)) out.Add(property, tag);
  }
  out.Set();
  const bool recipients = WriteRecipients(message, tnef);
  _referencesResolve = true;
  return WriteAttachments(message, tnef) && recipients && rtf && texts.whole && out.whole() &&
         tnef.whole;
}

}  // namespace parvane::carry
