// One message of a PST with all that is in it, for people to look at.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/message_marks.h"
#include "mapi/message.h"
#include "platform/time.h"

namespace parvane::desk {

struct ViewedPerson {
  std::u16string name;
  std::u16string address;
};

struct ViewedAttachment {
  std::uint32_t number = 0;  // by which it is asked for
  std::u16string name;
  std::uint64_t bytes = 0;
  std::string type;        // "image/png"; empty: not known
  std::string reference;   // what the text calls it, as carry::ReferenceToContentId has it
  bool inPlace = false;    // it is shown in the text
  bool isMessage = false;  // attached, to be looked at like any other
  bool elsewhere = false;  // it lies at the place that is its name, not in the PST
};

struct ViewedProperty {
  std::uint32_t tag = 0;
  std::string name;       // "PR_SUBJECT", or the name of a named one; empty: none is known here
  std::string_view type;  // "text", "number", "yes or no", "time", "bytes", ...
  std::string value;      // a long one cut, with how long it is
};

enum class ViewedBody { kNone, kText, kHtml };

struct ViewedMessage {
  std::u16string subject;
  ViewedPerson from;
  std::optional<ViewedPerson> sender;  // who sent it for that one
  std::vector<ViewedPerson> to, cc, bcc;
  platform::FileTime submitted, delivered;  // 0: not known
  std::uint64_t bytes = 0;
  MessageMarks marks;
  std::string headers;  // as they came; a very long text cut
  ViewedBody body = ViewedBody::kNone;
  std::vector<ViewedAttachment> attachments;
  std::vector<ViewedProperty> properties;
  std::vector<std::string> unreadable;  // what cannot be read, and is missing here: "recipients"
};

// `keywords` as in message_marks.h.
ViewedMessage ViewMessage(mapi::IMessage& message, mapi::ULONG keywords);

std::vector<ViewedAttachment> ViewAttachments(mapi::IMessage& message, bool& complete);

}  // namespace parvane::desk
