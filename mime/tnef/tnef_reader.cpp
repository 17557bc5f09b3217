#include "mime/tnef/tnef_reader.h"

#include <algorithm>

#include "mime/tnef/byte_reader.h"
#include "platform/text.h"

namespace parvane::tnef {
namespace {

constexpr std::uint32_t kSignature = 0x223E9F78;
constexpr std::uint8_t kOfMessage = 1;
constexpr std::uint8_t kOfAttachment = 2;

// [MS-OXTNEF] 2.1.3.2; the upper half of an id is a type, of which the writers are not sure.
enum AttributeId : std::uint16_t {
  kFrom = 0x8000,
  kSubject = 0x8004,
  kDateSent = 0x8005,
  kDateReceived = 0x8006,
  kMessageClass = 0x8008,
  kBody = 0x800C,
  kAttachData = 0x800F,
  kAttachTitle = 0x8010,
  kAttachMetafile = 0x8011,
  kAttachRendering = 0x9002,
  kMessageProperties = 0x9003,
  kRecipients = 0x9004,
  kAttachProperties = 0x9005,
  kCodePage = 0x9007,
};

struct Attribute {
  std::uint8_t level = 0;
  std::uint16_t id = 0;
  std::string_view data;
};

bool TakeAttribute(ByteReader& reader, Attribute& attribute) {
  std::uint32_t id = 0;
  std::uint32_t size = 0;
  std::uint16_t checksum = 0;
  ByteReader ahead = reader;
  if (!ahead.Take(attribute.level)) return false;
  if (attribute.level != kOfMessage && attribute.level != kOfAttachment) return false;
  if (!ahead.Take(id) || !ahead.Take(size) || !ahead.Take(size, attribute.data)) return false;
  attribute.id = static_cast<std::uint16_t>(id);
  // Not heeded: too many writers get it wrong, and the very last is missing at times.
  ahead.Take(checksum);
  reader = ahead;
  return true;
}

std::string_view* PlaceIn(Message& message, std::uint16_t id) {
  switch (id) {
    case kFrom:
      return &message.from;
    case kSubject:
      return &message.subject;
    case kDateSent:
      return &message.dateSent;
    case kDateReceived:
      return &message.dateReceived;
    case kMessageClass:
      return &message.messageClass;
    case kBody:
      return &message.body;
    case kMessageProperties:
      return &message.properties;
    case kRecipients:
      return &message.recipients;
    default:
      return nullptr;
  }
}

std::string_view* PlaceIn(Attachment& attachment, std::uint16_t id) {
  switch (id) {
    case kAttachData:
      return &attachment.data;
    case kAttachTitle:
      return &attachment.title;
    case kAttachMetafile:
      return &attachment.metafile;
    case kAttachRendering:
      return &attachment.rendering;
    case kAttachProperties:
      return &attachment.properties;
    default:
      return nullptr;
  }
}

// An attachment begins with its rendering, or so it is written down; there are files that begin one
// with its data, or leave the rendering out. One begins as well, therefore, where it would have
// something twice. False when it is one too many. A view into the bytes is never null, even an
// empty one, so that what is there can be told from what is not.
bool TakeAttachmentAttribute(const Attribute& attribute, std::vector<Attachment>& attachments) {
  Attachment unnoticed;
  if (!PlaceIn(unnoticed, attribute.id)) return true;
  const bool begins = attachments.empty() || attribute.id == kAttachRendering ||
                      PlaceIn(attachments.back(), attribute.id)->data() != nullptr;
  if (begins) {
    if (attachments.size() == kMostAttachments) return false;
    attachments.emplace_back();
  }
  *PlaceIn(attachments.back(), attribute.id) = attribute.data;
  return true;
}

void TakeMessageAttribute(const Attribute& attribute, Message& message) {
  if (attribute.id == kCodePage) {
    std::uint32_t codePage = 0;
    if (ByteReader(attribute.data).Take(codePage) && codePage != 0) message.codePage = codePage;
  } else if (std::string_view* const place = PlaceIn(message, attribute.id)) {
    if (place->data() == nullptr) *place = attribute.data;
  }
}

bool IsPadding(std::string_view rest) {
  return std::ranges::all_of(rest,
                             [](char c) { return c == '\0' || platform::IsAsciiWhiteSpace(c); });
}

}  // namespace

std::optional<Message> ReadTnef(std::string_view bytes) {
  ByteReader reader(bytes);
  std::uint32_t signature = 0;
  std::uint16_t key = 0;
  if (!reader.Take(signature) || signature != kSignature || !reader.Take(key)) return {};
  Message message;
  Attribute attribute;
  bool fewEnough = true;
  while (fewEnough && TakeAttribute(reader, attribute)) {
    if (attribute.level == kOfMessage) {
      TakeMessageAttribute(attribute, message);
    } else {
      fewEnough = TakeAttachmentAttribute(attribute, message.attachments);
    }
  }
  message.whole = fewEnough && IsPadding(reader.rest());
  return message;
}

std::optional<Originator> ReadOriginator(std::string_view from) {
  constexpr std::string_view kSmtp = "SMTP:";
  ByteReader reader(from);
  std::string_view unused;
  std::uint16_t nameSize = 0;
  std::uint16_t addressSize = 0;
  Originator originator;
  if (!reader.Take(4, unused) || !reader.Take(nameSize) || !reader.Take(addressSize) ||
      !reader.Take(nameSize, originator.name) || !reader.Take(addressSize, originator.address)) {
    return {};
  }
  originator.name = UpToZero(originator.name);
  originator.address = UpToZero(originator.address);
  if (platform::StartsWithIgnoreAsciiCase(originator.address, kSmtp)) {
    originator.address.remove_prefix(kSmtp.size());
  } else {
    originator.address = {};
  }
  return originator;
}

std::optional<Date> ReadDate(std::string_view date) {
  ByteReader reader(date);
  Date read;
  for (std::uint16_t* part :
       {&read.year, &read.month, &read.day, &read.hour, &read.minute, &read.second}) {
    if (!reader.Take(*part)) return {};
  }
  return read;
}

std::string_view UpToZero(std::string_view text) { return text.substr(0, text.find('\0')); }

}  // namespace parvane::tnef
