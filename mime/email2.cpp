#include "mime/email2.h"

#include <algorithm>

#include "mime/content_coding.h"
#include "mime/content_type_table.h"
#include "platform/text.h"

namespace Tessary {
namespace {

using parvane::platform::EndsWithIgnoreAsciiCase;
using parvane::platform::EqualsIgnoreAsciiCase;
using parvane::platform::StartsWithIgnoreAsciiCase;
using parvane::platform::ToLowerAscii;

constexpr auto kNone = std::string_view::npos;

std::string_view Trim(std::string_view text) {
  while (!text.empty() && parvane::platform::IsAsciiWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && parvane::platform::IsAsciiWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

// Removes U+0000..U+001F and U+007F..U+009F.
void RemoveControls(std::string& utf8) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    const bool c1 =
        byte == 0xC2 && i + 1 < utf8.size() && static_cast<unsigned char>(utf8[i + 1]) < 0xA0;
    if (c1) {
      ++i;
    } else if (byte >= 0x20 && byte != 0x7F) {
      utf8[kept++] = utf8[i];
    }
  }
  utf8.resize(kept);
}

}  // namespace

Email2::Email2(const MimeMessage2& entity) : _entity(&entity) {
  if (entity.children().empty()) return;
  _children = std::make_unique<std::vector<Email2>>();
  _children->reserve(entity.children().size());
  for (const auto& child : entity.children()) _children->emplace_back(*child);
}

bool Email2::TypeIs(std::string_view type) const {
  return EqualsIgnoreAsciiCase(contentType(), type);
}

bool Email2::TypeBeginsWith(std::string_view prefix) const {
  return StartsWithIgnoreAsciiCase(contentType(), prefix);
}

bool Email2::TypeContains(std::string_view lowerCase) const {
  return ToLowerAscii(contentType()).find(lowerCase) != std::string::npos;
}

bool Email2::IsMixedOrReplace() const {
  return TypeIs("multipart/mixed") || TypeIs("multipart/x-mixed-replace");
}

bool Email2::DispositionIs(std::string_view value) const {
  return EqualsIgnoreAsciiCase(disposition(), value);
}

bool Email2::HasMhtFile() const {
  return DispositionIs("attachment") && EndsWithIgnoreAsciiCase(filename(), ".mht");
}

bool Email2::IsStrictAttachment() const {
  if (IsMultipart()) return false;
  if (TypeIs("message/rfc822")) return HasMhtFile();
  return DispositionIs("attachment") ||
         (!name().empty() && EqualsIgnoreAsciiCase(transferEncoding(), "base64")) ||
         EndsWithIgnoreAsciiCase(name(), ".pem") || TypeIs("application/edifact") ||
         TypeIs("application/smil");
}

bool Email2::IsMixedContainer() const {
  return IsMixedOrReplace() || TypeIs("multipart/*") || TypeIs("multipart/voice-message");
}

// Such a part stays whole, and a whole part is kept as a file.
bool Email2::IsNestedTooDeep() const {
  return _entity->beyondLimit() ||
         (TypeIs("message/rfc822") && _entity->depth() + 1 >= MimeLimits::kNesting);
}

bool Email2::IsAttachment(const Email2* container) const {
  if (IsNestedTooDeep()) return true;
  if (IsMultipart()) return false;
  if (TypeIs("message/rfc822")) return HasMhtFile();
  if (TypeContains("pkcs7-signature")) return DispositionIs("attachment");
  const bool inMixed = container != nullptr && container->IsMixedContainer();
  // Letter case counts in this one comparison: files in old archives depend on it.
  if (DispositionIs("attachment") || contentType().starts_with("application/")) return true;
  return DispositionIs("inline") ? IsInlineAttachment(inMixed) : IsUndisposedAttachment(inMixed);
}

bool Email2::IsInlineAttachment(bool inMixed) const {
  if (!filename().empty()) return true;
  if (inMixed && (TypeBeginsWith("image/") || TypeBeginsWith("application/") ||
                  TypeBeginsWith("audio/") || TypeBeginsWith("video/"))) {
    return true;
  }
  return TypeBeginsWith("image/") && TypeContains("-tiff");
}

bool Email2::IsUndisposedAttachment(bool inMixed) const {
  if (inMixed && TypeIs("text/plain")) {
    const MimeField* field = header().Find("Content-Class");
    std::string scratch;
    if (field != nullptr &&
        ToLowerAscii(field->Value(scratch)).find("content-classes:message") != std::string::npos) {
      return true;
    }
  }
  if (!name().empty() && EqualsIgnoreAsciiCase(transferEncoding(), "base64")) return true;
  return EndsWithIgnoreAsciiCase(name(), ".pem") || EndsWithIgnoreAsciiCase(name(), ".pmi") ||
         EndsWithIgnoreAsciiCase(name(), ".gtr");
}

bool Email2::IsAttachedMessage() const {
  return TypeIs("message/rfc822") && !HasMhtFile() && !IsNestedTooDeep();
}

std::string Email2::FileName(std::string_view messageCharset) const {
  std::string found(filename());
  if (found.empty()) found = name();
  if (found.empty()) {
    if (const MimeField* field = header().Find("Content-Location")) {
      std::string scratch;
      const std::string_view location = Trim(field->Value(scratch));
      if (location.find('.') != kNone) found = location;
    }
  }
  if (found.empty()) {
    found.append("attachedFile.").append(ExtensionOfContentType(contentType()));
  }
  const std::string_view own = _entity->contentType().Get("charset");
  std::string decoded = ContentCoding::DecodeFileName(found, own.empty() ? messageCharset : own);
  RemoveControls(decoded);
  return decoded;
}

}  // namespace Tessary
