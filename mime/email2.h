// Email2: a node of a parsed e-mail, that is a MIME entity seen with the questions the e-mail
// model asks of it.
//
// Content types are compared without regard to case unless stated otherwise. The tests on names
// look at the names as they stand in the header (RFC 2231 decoded, encoded words not).
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mime/mime_message2.h"

namespace Tessary {

class Email2 {
 public:
  // The tree below `entity`, which must outlive it.
  explicit Email2(const MimeMessage2& entity);

  const MimeMessage2& entity() const { return *_entity; }
  const MimeHeader& header() const { return _entity->header(); }
  std::span<const Email2> children() const {
    return _children ? std::span<const Email2>(*_children) : std::span<const Email2>();
  }

  std::string_view contentType() const { return _entity->contentType().value(); }
  std::string_view disposition() const { return _entity->disposition().value(); }
  std::string_view transferEncoding() const { return _entity->transferEncoding(); }
  // The disposition's filename and the content type's name; empty when missing.
  std::string_view filename() const { return _entity->disposition().Get("filename"); }
  std::string_view name() const { return _entity->contentType().Get("name"); }

  bool TypeIs(std::string_view type) const;
  bool TypeBeginsWith(std::string_view prefix) const;
  bool TypeContains(std::string_view lowerCase) const;
  bool IsMultipart() const { return TypeBeginsWith("multipart/"); }
  // multipart/mixed or multipart/x-mixed-replace.
  bool IsMixedOrReplace() const;
  bool DispositionIs(std::string_view disposition) const;

  // Never taken for a body.
  bool IsStrictAttachment() const;
  // A container whose children may be attachments: "mixed" in the wide sense.
  bool IsMixedContainer() const;
  // Passes the attachment test; `container` is the node that holds this one, null for the root.
  bool IsAttachment(const Email2* container) const;
  // A message/rfc822 part that is to be converted as a message.
  bool IsAttachedMessage() const;

  // The name for this part's file, decoded, never with control characters. `messageCharset` is
  // tried for raw 8-bit names. May be empty.
  std::string FileName(std::string_view messageCharset) const;

 private:
  bool IsNestedTooDeep() const;
  bool HasMhtFile() const;
  bool IsInlineAttachment(bool inMixed) const;
  bool IsUndisposedAttachment(bool inMixed) const;

  const MimeMessage2* _entity;
  std::unique_ptr<std::vector<Email2>> _children;  // null for a leaf
};

}  // namespace Tessary
