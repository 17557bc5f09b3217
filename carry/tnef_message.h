// Writes what TNEF holds onto MAPI messages (docs/winmail.md tells what goes where).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "carry/tnef_properties.h"
#include "mapi/message.h"
#include "mime/tnef/tnef_reader.h"

namespace parvane::carry {

struct TnefTexts;  // those properties of a message that others depend on

class TnefMessageWriter {
 public:
  explicit TnefMessageWriter(NamedIds& names) : _names(names) {}

  // Onto the message of the mail that it came with: bodies where the mail has none or poorer ones,
  // the attachments, and of a meeting or task what makes it one. False when something of it could
  // not be read or written; what could is on the message.
  bool WriteBeside(mapi::IMessage& message, const tnef::Message& tnef);
  // Those written, without those of messages inside.
  std::uint32_t attachments() const { return _attachments; }

 private:
  struct AttachmentFacts;

  // All of a message in a message.
  bool WriteWhole(mapi::IMessage& message, const tnef::Message& tnef);
  bool WriteMeeting(mapi::IMessage& message, const tnef::Message& tnef, const TnefTexts& texts);
  bool WriteBodies(mapi::IMessage& message, const tnef::Message& tnef, const TnefTexts& texts);
  mapi::ULONG TagOf(mapi::IMAPIProp& object, const tnef::Property& property);

  bool WriteAttachments(mapi::IMessage& message, const tnef::Message& tnef);
  bool WriteAttachment(mapi::IMessage& message, const tnef::Attachment& tnef, unsigned codePage);
  bool WriteContents(mapi::IAttach& attachment, const AttachmentFacts& facts);
  bool WriteInner(mapi::IAttach& attachment, const tnef::Message& inner);
  // A body that the mail has already, in better form.
  bool WriteRtfAsFile(mapi::IMessage& message, std::string_view rtf);

  NamedIds& _names;
  std::uint32_t _attachments = 0;
  int _depth = 0;                   // messages around the one in hand
  bool _named = true;               // the store had an id for every name
  bool _referencesResolve = false;  // the text that shows hidden attachments is on the message
};

}  // namespace parvane::carry
