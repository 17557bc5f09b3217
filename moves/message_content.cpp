#include "moves/message_content.h"

#include <algorithm>
#include <cstring>

namespace parvane::moves {
namespace {

using platform::Sha256;
using platform::Sha256Digest;

std::uint64_t Shortened(const void* digest) {
  std::uint64_t value = 0;
  for (int i = 0; i < 8; ++i) value = value << 8 | static_cast<const unsigned char*>(digest)[i];
  return std::max<std::uint64_t>(value, 1);
}

void Number(Sha256& hash, std::uint64_t number) {
  std::array<std::byte, 8> bytes;
  for (std::byte& byte : bytes) {
    byte = std::byte(number & 0xFF);
    number >>= 8;
  }
  hash.Update(bytes);
}

// With its length, so that it does not run into what follows.
void Text(Sha256& hash, std::string_view text) {
  Number(hash, text.size());
  hash.Update(text);
}

// The digests of the fields, one after another.
using FieldDigests = std::array<std::optional<Sha256Digest>, kContentFields>;

FieldDigests DigestsOf(const MessageContent& content) {
  FieldDigests digests;
  const auto at = [&](ContentField field) -> std::optional<Sha256Digest>& {
    return digests[static_cast<std::size_t>(field)];
  };
  Sha256 hash;
  hash.Update(content.subject);
  at(ContentField::kSubject) = hash.Finish();
  at(ContentField::kOriginator) = content.originator;
  at(ContentField::kRecipients) = content.recipients;
  Number(hash, content.sent);
  Number(hash, content.delivered);
  at(ContentField::kDates) = hash.Finish();
  at(ContentField::kText) = content.text;
  at(ContentField::kHtml) = content.html;
  for (const AttachmentContent& attachment : content.attachments) {
    Text(hash, attachment.name);
    hash.Update(attachment.digest);
  }
  at(ContentField::kAttachments) = hash.Finish();
  for (std::size_t i = 0; i < kContentFields; ++i) {
    if ((content.unreadable & SetOf(static_cast<ContentField>(i))) == 0) continue;
    Text(hash, "cannot be read");
    digests[i] = hash.Finish();
  }
  return digests;
}

Sha256Digest Together(const FieldDigests& digests) {
  Sha256 hash;
  for (const auto& digest : digests) {
    Number(hash, digest ? digest->size() : 0);
    if (digest) hash.Update(*digest);
  }
  return hash.Finish();
}

std::string_view WithoutBrackets(std::string_view messageId) {
  const std::size_t first = messageId.find('<'), last = messageId.rfind('>');
  if (first == messageId.npos || last == messageId.npos || last < first) return messageId;
  return messageId.substr(first + 1, last - first - 1);
}

}  // namespace

Sha256Digest DigestOf(const MessageContent& content) { return Together(DigestsOf(content)); }

ContentSummary Summarise(const MessageContent& content) {
  const FieldDigests digests = DigestsOf(content);
  ContentSummary summary;
  summary.content = Shortened(Together(digests).data());
  for (std::size_t i = 0; i < kContentFields; ++i) {
    if (digests[i])
      summary.fields[i] = std::max<std::uint32_t>(1, Shortened(digests[i]->data()) >> 32);
  }
  if (content.key) summary.key = Shortened(content.key->data());
  if (const std::string_view id = WithoutBrackets(content.messageId); !id.empty()) {
    Sha256 hash;
    hash.Update(id);
    summary.messageId = Shortened(hash.Finish().data());
  }
  return summary;
}

FieldSet Differences(const ContentSummary& should, const ContentSummary& is) {
  FieldSet different = 0;
  for (std::size_t i = 0; i < kContentFields; ++i) {
    const auto field = static_cast<ContentField>(i);
    const bool body = field == ContentField::kText || field == ContentField::kHtml;
    if (should.fields[i] != is.fields[i] && !(body && should.fields[i] == 0))
      different |= SetOf(field);
  }
  return different;
}

}  // namespace parvane::moves
