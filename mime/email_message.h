// One parsed e-mail and what has been worked out about it: header fields as text, mailboxes, the
// date, bodies, parts. Everything is worked out when it is first asked for, and most of it kept.
//
// It takes no lock and keeps no log: one user at a time, who looks to what is said here. The
// facade's TsEmail is the same with both.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mime/address_list.h"
#include "mime/email2.h"
#include "mime/email_structure.h"
#include "mime/header_facts.h"
#include "mime/parse_log.h"
#include "mime/removed_attachments.h"
#include "platform/recycled_vector.h"

namespace Tessary {

class EmailMessage {
 public:
  // `entity` must not change any more.
  explicit EmailMessage(std::shared_ptr<const MimeMessage2> entity);
  EmailMessage(const EmailMessage&) = delete;
  EmailMessage& operator=(const EmailMessage&) = delete;

  const MimeMessage2& entity() const { return *_entity; }
  const EmailStructure& structure() const { return _structure; }
  // The message's own charset, for text that names none: the first that is stated anywhere in it;
  // may be empty.
  const std::string& charset() const { return _charset; }

  // ---- Header ----
  // The first field of that name as UTF-8 on one line, its encoded words decoded (those of address
  // fields are not: see address_list.h): a view of the message where that reads as it stands, else
  // of `scratch` or of what was decoded, until another field is asked for. False when there is no
  // such field.
  bool Field(std::string_view name, std::string& scratch, std::string_view& out);
  // The same appended, cut after so many bytes; nothing is appended when there is no such field.
  bool AppendField(std::string_view name, std::u16string& out, std::size_t mostBytes = SIZE_MAX);
  // The date that the Date field holds, cleared when that cannot be read; false when there is no
  // such field.
  bool Date(DateValue& out);
  // From as text: `Name <address>`, names quoted where they must be, mailboxes joined by ", ".
  void AppendFrom(std::u16string& out);

  // All mailboxes of a list, several fields of its name being one.
  const std::vector<MailBox>& Mailboxes(AddressField list);
  // Calls `take` with them, one by one, until it returns false; a long list is not
  // held for it.
  using TakeMailBox = std::function<bool(const MailBox&)>;
  void ForEachMailbox(AddressField list, const TakeMailBox& take);
  // The same where they are known without reading the field; else false, without a call.
  bool ForEachKnownMailbox(AddressField list, const TakeMailBox& take);
  // False when there is certainly no such field.
  bool MayHave(AddressField list) const { return _root.header().MayHave(NameOf(list)); }

  // ---- Bodies ----
  // A body decoded from its transfer encoding, with the names of the charsets to read it in (see
  // text_decoding.h).
  struct Body {
    ByteSlice bytes;
    std::string declaredCharset;
    std::string fallbackCharset;
  };
  // False, with the reason in the log, when there is none.
  bool PlainTextBody(ParseLog& log, Body& out) const;
  bool HtmlBody(ParseLog& log, Body& out) const;

  // ---- Parts: which they are, the structure says ----
  std::string FileName(const Email2& part) const { return part.FileName(_charset); }
  // Without parameters, in the letter case of the message.
  std::string ContentType(const Email2& part) const;
  // A field of the part's header; angle brackets around the value are taken off.
  std::optional<std::string> PartField(const Email2& part, std::string_view name) const;
  // Empty for what is not there.
  std::string ContentType(const LeftoverPart& part) const;
  std::string FileName(const LeftoverPart& part) const;
  std::vector<RemovedAttachment> RemovedAttachments() const;

 private:
  bool ReadBody(const Email2* node, bool html, Body& out) const;
  std::string_view ListText(AddressField list, std::string& joined) const;
  // Both call `take` with the mailboxes until it returns false; the former only if the facts of the
  // entity have them.
  template <typename Take>
  bool ForEachKnown(AddressField list, Take take);
  template <typename Take>
  void ForEach(AddressField list, Take take);
  // The same, read from the field; `take` may keep what it gets.
  template <typename Take>
  void ForEachRead(AddressField list, Take take);

  std::shared_ptr<const MimeMessage2> _entity;
  Email2 _root;
  EmailStructure _structure;
  std::string _charset;
  std::array<std::optional<parvane::platform::RecycledVector<MailBox>>, kAddressFields.size()>
      _lists;
  MailBox _known;  // handed out by ForEachKnown
  // The last field that had to be decoded: the subject is asked for again.
  const MimeField* _decodedField = nullptr;
  std::string _decodedText;
};

}  // namespace Tessary
