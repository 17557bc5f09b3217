#include "sources/message_shape.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "mime/email2.h"
#include "mime/parse_log.h"

namespace parvane::sources {
namespace {

using engine::MessageShape;
using Tessary::ByteSlice;
using Tessary::MimeLimits;
using Tessary::MimeMessage2;

std::uint64_t CountOf(std::string_view text, std::string_view pattern) {
  std::uint64_t count = 0;
  for (std::size_t at = text.find(pattern); at != text.npos;
       at = text.find(pattern, at + pattern.size())) {
    ++count;
  }
  return count;
}

bool MayBeWinmail(const MimeMessage2& part) {
  const Tessary::Email2 node(part);
  return node.TypeContains("ms-tnef") || node.TypeIs("application/octet-stream") ||
         node.filename().size() + node.name().size() > 0;
}

// What begins every attachment in TNEF ([MS-OXTNEF] attAttachRendData), and its compressed text
// ([MS-OXRTFCP]: COMPSIZE and RAWSIZE before, CRC behind).
void AddWinmail(std::string_view tnef, MessageShape& shape) {
  constexpr std::string_view kSignature("\x78\x9F\x3E\x22", 4);
  constexpr std::string_view kAttachment("\x02\x90\x06\x00", 4);
  constexpr std::string_view kCompressed("LZFu");
  if (!tnef.starts_with(kSignature)) return;
  shape.objects += CountOf(tnef, kAttachment);
  for (std::size_t at = tnef.find(kCompressed); at != tnef.npos;
       at = tnef.find(kCompressed, at + 1)) {
    std::uint64_t raw = 0;
    for (std::size_t i = 0; i < 4 && at >= 4; ++i)
      raw |= std::uint64_t{static_cast<unsigned char>(tnef[at - 4 + i])} << (8 * i);
    // Two bytes stand for at most 17, and eight such pairs have one byte in front of them.
    shape.unpacked += std::min<std::uint64_t>(raw, tnef.size() * 8);
  }
}

void AddEntity(const MimeMessage2& entity, MessageShape& shape);

void AddMessageInside(const MimeMessage2& part, MessageShape& shape) {
  const ByteSlice bytes = part.DecodedBody();
  MimeMessage2 inside;
  Tessary::ParseLog unread(Tessary::ParseLog::Keeping::kNothing);
  inside.Load(bytes, unread, part.depth() + 1);
  AddEntity(inside, shape);
}

void AddLeaf(const MimeMessage2& part, MessageShape& shape) {
  const Tessary::Email2 node(part);
  if (node.TypeIs("message/rfc822") && part.depth() + 1 < MimeLimits::kNesting)
    return AddMessageInside(part, shape);
  const bool text = node.contentType().empty() || node.TypeBeginsWith("text") ||
                    node.IsMultipart() || node.TypeBeginsWith("message");
  (text && !node.DispositionIs("attachment") ? shape.text : shape.data) += part.DecodedSizeAtMost();
  if (!text && MayBeWinmail(part)) AddWinmail(part.DecodedBody().view(), shape);
}

void AddEntity(const MimeMessage2& entity, MessageShape& shape) {
  const std::string_view header = entity.headerText();
  shape.header += header.size();
  ++shape.objects;
  shape.addresses += static_cast<std::uint64_t>(
      std::count_if(header.begin(), header.end(), [](char c) { return c == ',' || c == ';'; }));
  for (const std::string_view dropped : entity.droppedParts()) {
    ++shape.objects;
    shape.data += dropped.size();
  }
  if (entity.children().empty()) return AddLeaf(entity, shape);
  for (const auto& child : entity.children()) AddEntity(*child, shape);
}

}  // namespace

MessageShape ShapeOf(const MimeMessage2& message) {
  MessageShape shape;
  AddEntity(message, shape);
  return shape;
}

}  // namespace parvane::sources
