// The attachments in TNEF.

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "carry/tnef_message.h"
#include "convert/message_streams.h"
#include "convert/properties/mapi_properties.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/identifiers.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "mime/tnef/rtf_compression.h"

namespace parvane::carry {

using namespace mapi;
namespace properties = QuelmarMIMEEngineCommon::OrvMAPIUtilities;

namespace {

// Messages within messages; real ones do not nest so deep. What lies deeper stays a file.
constexpr int kMaximumDepth = 20;
constexpr std::size_t kInterfaceSize = 16;

bool Taken(HRESULT result, ULONG tag) {
  if (Failed(result)) NoteRefusal(result, tag);
  return Succeeded(result);
}

// Names are for showing: no folder of the sender's belongs to them.
std::u16string FileNameIn(std::u16string name) {
  name.erase(0, name.find_last_of(u"/\\") + 1);
  return name;
}

// Taken over as they are: file names of old, types, icons, places in the text, times.
bool IsCarried(ULONG id, ULONG method, bool referencesResolve) {
  switch (id) {
    case PropId(PR_ATTACH_DATA_BIN):
    case PropId(PR_ATTACH_METHOD):
    case PropId(PR_ATTACH_LONG_FILENAME_W):
    case PropId(PR_DISPLAY_NAME_W):
      return false;  // written otherwise
    case PropId(PR_ATTACH_PATHNAME_W):
    case PropId(PR_ATTACH_LONG_PATHNAME_W):
      return method != ATTACH_BY_VALUE;
    case PropId(PR_ATTACHMENT_HIDDEN):
      return referencesResolve;
    case PropId(PR_CREATION_TIME):
    case PropId(PR_LAST_MODIFICATION_TIME):
      return true;
    default:
      return (id >= 0x3702 && id <= 0x371F) || (id >= 0x7FFA && id <= 0x7FFF);
  }
}

}  // namespace

struct TnefMessageWriter::AttachmentFacts {
  std::u16string name;
  ULONG method = ATTACH_BY_VALUE;
  std::string_view data;
  std::optional<tnef::Message> inner;
  bool hasIcon = false;
  bool hasPosition = false;
  bool whole = true;

  AttachmentFacts(const tnef::Attachment& tnef, unsigned codePage) : data(tnef.data) {
    std::u16string longName, shortName, displayName;
    tnef::ByteReader reader(tnef.properties);
    tnef::PropertyReader list(reader);
    for (tnef::Property property; list.Next(property);) {
      switch (property.id) {
        case PropId(PR_ATTACH_METHOD):
          method = NumberIn(property);
          break;
        case PropId(PR_ATTACH_LONG_FILENAME_W):
          longName = TextOf(property, codePage);
          break;
        case PropId(PR_ATTACH_FILENAME_W):
          shortName = TextOf(property, codePage);
          break;
        case PropId(PR_DISPLAY_NAME_W):
          displayName = TextOf(property, codePage);
          break;
        case PropId(PR_ATTACH_DATA_BIN):
          TakeData(property);
          break;
        default:
          hasIcon |= property.id == PropId(PR_ATTACH_RENDERING);
          hasPosition |= property.id == PropId(PR_RENDERING_POSITION);
      }
    }
    whole = list.whole() || tnef.properties.empty();
    if (method == ATTACH_EMBEDDED_MSG) inner = tnef::ReadTnef(data);
    for (std::u16string* other : {&longName, &shortName, &displayName}) {
      if (name.empty()) name = FileNameIn(std::move(*other));
      if (other == &longName && name.empty()) name = FileNameIn(TextOf(tnef.title, codePage));
    }
  }

  // In an object, an interface comes first.
  void TakeData(const tnef::Property& property) {
    const bool object = property.type == PT_OBJECT && property.value.size() >= kInterfaceSize;
    if (data.empty()) data = property.value.substr(object ? kInterfaceSize : 0);
  }
};

bool TnefMessageWriter::WriteAttachments(IMessage& message, const tnef::Message& tnef) {
  bool whole = true;
  for (const tnef::Attachment& attachment : tnef.attachments) {
    const bool written = WriteAttachment(message, attachment, tnef.codePage);
    if (written && _depth == 0) ++_attachments;
    whole = written && whole;
  }
  RefusalsConcern({});
  return whole;
}

bool TnefMessageWriter::WriteAttachment(IMessage& message, const tnef::Attachment& tnef,
                                        unsigned codePage) {
  const AttachmentFacts facts(tnef, codePage);
  RefusalsConcern(facts.name);
  ULONG number = 0;
  ComPointer<IAttach> attachment;
  if (!Taken(message.CreateAttach(nullptr, 0, &number, attachment.Put()), PR_MESSAGE_ATTACHMENTS))
    return false;
  TnefProperties out(attachment.get(), codePage);
  tnef::ByteReader reader(tnef.properties);
  tnef::PropertyReader list(reader);
  for (tnef::Property property; list.Next(property);) {
    if (!property.name && IsCarried(property.id, facts.method, _referencesResolve))
      out.Add(property, property.tag());
  }
  if (!facts.hasIcon && !tnef.metafile.empty()) out.AddBytes(PR_ATTACH_RENDERING, tnef.metafile);
  std::string_view kind;
  std::uint32_t position = 0;
  tnef::ByteReader rendering(tnef.rendering);
  if (!facts.hasPosition && rendering.Take(2, kind) && rendering.Take(position))
    out.AddNumber(PR_RENDERING_POSITION, position);
  out.AddText(PR_DISPLAY_NAME_W, facts.name);
  if (!facts.inner) out.AddText(PR_ATTACH_LONG_FILENAME_W, facts.name);
  out.Set();
  const bool written = WriteContents(*attachment, facts);
  return Taken(attachment->SaveChanges(FORCE_SAVE), PR_MESSAGE_ATTACHMENTS) && written &&
         facts.whole;
}

bool TnefMessageWriter::WriteContents(IAttach& attachment, const AttachmentFacts& facts) {
  if (facts.inner && _depth < kMaximumDepth) {
    properties::SetPropLong(&attachment, PR_ATTACH_METHOD, ATTACH_EMBEDDED_MSG);
    return WriteInner(attachment, *facts.inner);
  }
  const bool reference = facts.data.empty() && facts.method > ATTACH_BY_VALUE &&
                         facts.method != ATTACH_EMBEDDED_MSG && facts.method != ATTACH_OLE;
  properties::SetPropLong(&attachment, PR_ATTACH_METHOD,
                          static_cast<LONG>(reference ? facts.method : ATTACH_BY_VALUE));
  return (reference || convert::WritePropertyStream(attachment, PR_ATTACH_DATA_BIN, facts.data)) &&
         facts.method != ATTACH_EMBEDDED_MSG;
}

bool TnefMessageWriter::WriteInner(IAttach& attachment, const tnef::Message& inner) {
  ComPointer<IMessage> message;
  if (!Taken(attachment.OpenProperty(PR_ATTACH_DATA_OBJ, &IID_IMessage, 0,
                                     MAPI_CREATE | MAPI_MODIFY, message.PutUnknown()),
             PR_ATTACH_DATA_OBJ)) {
    return false;
  }
  const bool outside = std::exchange(_referencesResolve, true);
  ++_depth;
  const bool whole = WriteWhole(*message, inner);
  --_depth;
  _referencesResolve = outside;
  return Taken(message->SaveChanges(FORCE_SAVE), PR_ATTACH_DATA_OBJ) && whole;
}

bool TnefMessageWriter::WriteRtfAsFile(IMessage& message, std::string_view rtf) {
  ULONG number = 0;
  ComPointer<IAttach> attachment;
  if (!Taken(message.CreateAttach(nullptr, 0, &number, attachment.Put()), PR_MESSAGE_ATTACHMENTS))
    return false;
  properties::SetPropLong(attachment.get(), PR_ATTACH_METHOD, ATTACH_BY_VALUE);
  for (const ULONG tag : {PR_ATTACH_LONG_FILENAME_W, PR_DISPLAY_NAME_W})
    properties::SetPropString(attachment.get(), tag, u"winmail.rtf");
  properties::SetPropString(attachment.get(), PR_ATTACH_MIME_TAG_W, u"text/rtf");
  convert::PropertyWriter writer(*attachment, PR_ATTACH_DATA_BIN);
  const bool unpacked =
      tnef::DecompressRtf(rtf, [&](std::string_view piece) { return writer.Write(piece); });
  return writer.Commit() && unpacked &&
         Taken(attachment->SaveChanges(FORCE_SAVE), PR_MESSAGE_ATTACHMENTS);
}

}  // namespace parvane::carry
