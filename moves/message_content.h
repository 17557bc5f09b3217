// What makes a message what it is, in a form that says whether two of them are the same whatever
// wrote them and however: marks, folders and the order of recipients have no part in it, and of
// texts, runs of white space are one blank and the encoding does not matter.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/message_facts.h"
#include "platform/sha256.h"

namespace parvane::moves {

enum class ContentField : std::uint8_t {
  kSubject,
  kOriginator,
  kRecipients,
  kDates,
  kText,
  kHtml,
  kAttachments,
};
inline constexpr std::size_t kContentFields = 7;
using FieldSet = std::uint32_t;  // a bit for each
constexpr FieldSet SetOf(ContentField field) { return FieldSet{1} << static_cast<unsigned>(field); }

// A file, or a message in the message: that one has no name, since every program gives it another,
// and its digest is that of its content.
struct AttachmentContent {
  std::string name;
  platform::Sha256Digest digest{};
  auto operator<=>(const AttachmentContent&) const = default;
};

struct MessageContent {
  std::optional<engine::MessageKey> key;  // its search key
  std::string messageId;                  // as it is, as is the subject but for white space
  std::string subject;
  std::uint64_t sent = 0, delivered = 0;  // seconds since 1601; 0: none
  platform::Sha256Digest originator{}, recipients{};
  std::optional<platform::Sha256Digest> text, html;  // none: it has no such body
  std::vector<AttachmentContent> attachments;        // sorted
  // What could not be read, which therefore equals nothing.
  FieldSet unreadable = 0;
};

// What people know it by.
struct MessageName {
  std::string messageId;
  std::string subject;
};

// A message in a few bytes: enough to tell that one is not another by chance in 2^64, and in which
// fields by chance in 2^32.
struct ContentSummary {
  std::uint64_t key = 0;                               // 0: none, as below
  std::uint64_t messageId = 0;                         // ... without angle brackets
  std::uint64_t content = 0;                           // all fields
  std::array<std::uint32_t, kContentFields> fields{};  // 0: it has no such body

  std::uint32_t Of(ContentField field) const { return fields[static_cast<std::size_t>(field)]; }
};

ContentSummary Summarise(const MessageContent& content);
// All of it, as a digest.
platform::Sha256Digest DigestOf(const MessageContent& content);

// The fields in which what is there is not what it should be. A body that it should not have says
// nothing: mail programs make plain text out of HTML.
FieldSet Differences(const ContentSummary& should, const ContentSummary& is);

}  // namespace parvane::moves
