// TsEmail: a parsed e-mail, its addressing, its bodies, and its parts sorted into attachments,
// related items and attached messages.
//
// SetFromMimeText parses; everything else reads. The message's bytes are shared, never copied, and
// are decoded only when a getter asks. Text getters decode RFC 2047 words, except GetHeaderField
// on address fields, whose words stay encoded until a mailbox has been parsed (see mailbox.h).
//
// Operations return success; a count is 0 when nothing has been parsed. Indices are 0-based and a
// bad one fails. Getters clear their output first and leave it empty on failure. By-index getters
// take constant time beside the decoding of what they return. Nothing is thrown but
// std::bad_alloc; get_LastErrorText tells why the last operation failed.
//
// Each object guards itself with a critical section; different objects share nothing mutable and
// may be used on different threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Tessary {

class ClsEmail;
class TsByteData;
class TsString;

class TsEmail {
 public:
  // Larger messages are refused: far above what machines have memory for.
  static constexpr std::size_t kMaxMessageBytes = std::size_t{1} << 36;

  TsEmail();
  ~TsEmail();
  TsEmail(const TsEmail&) = delete;
  TsEmail& operator=(const TsEmail&) = delete;
  TsEmail(TsEmail&& other) noexcept;
  TsEmail& operator=(TsEmail&& other) noexcept;

  // How narrow arguments are read: UTF-8 when set, the ANSI code page when clear (a new object).
  // Message text is bytes and is never converted.
  bool get_Utf8() const;
  void put_Utf8(bool utf8);

  // Parses a message, replacing what was there. Fails on null or empty text and past
  // kMaxMessageBytes; malformed text never fails.
  bool SetFromMimeText(const char* text);
  // Shares the bytes: what TsMime::getMime returned arrives here untouched.
  bool SetFromMimeText(const TsString& text);
  bool SetFromMimeBytes(const TsByteData& bytes);

  // ---- Header ----
  // The From field as text (`Name <address>`, names quoted where they must be, mailboxes joined by
  // ", "); the first mailbox's address; its display name. They succeed with an empty text when the
  // field is missing.
  bool get_From(TsString& out);
  bool get_FromAddress(TsString& out);
  bool get_FromName(TsString& out);
  bool get_Subject(TsString& out);
  // The Date field's text, trimmed; empty when it is missing.
  bool get_EmailDateStr(TsString& out);
  // The whole top-level header block as it stands in the message, each line with its CR LF.
  bool get_Header(TsString& out);
  // The first top-level field of that name, without regard to case, unfolded. The name is trimmed.
  bool GetHeaderField(const char* name, TsString& out);

  // ---- Recipients: all fields of the name together, groups replaced by their members ----
  int get_NumTo();
  int get_NumCC();
  int get_NumBcc();
  // The address or display name of a recipient, decoded; succeeds with an empty text when the
  // recipient lacks that part.
  bool GetToAddr(int index, TsString& out);
  bool GetToName(int index, TsString& out);
  bool GetCcAddr(int index, TsString& out);
  bool GetCcName(int index, TsString& out);
  bool GetBccAddr(int index, TsString& out);
  bool GetBccName(int index, TsString& out);

  // ---- Bodies, decoded from transfer encoding and charset ----
  bool GetPlainTextBody(TsString& out);
  bool GetHtmlBody(TsString& out);

  // ---- Attachments, in document order ----
  int get_NumAttachments();
  // The content decoded from its transfer encoding.
  bool GetAttachmentData(int index, TsByteData& out);
  bool GetAttachmentFilename(int index, TsString& out);
  // "application/pdf", in the letter case of the message, without parameters.
  bool GetAttachmentContentType(int index, TsString& out);
  // Without the angle brackets, so that it matches the "cid:" references of an HTML body.
  bool GetAttachmentContentID(int index, TsString& out);

  // ---- Related items: the parts of the first multipart/related but its root document ----
  int get_NumRelatedItems();
  bool GetRelatedData(int index, TsByteData& out);
  bool GetRelatedFilename(int index, TsString& out);
  bool GetRelatedContentType(int index, TsString& out);
  bool GetRelatedContentID(int index, TsString& out);
  bool GetRelatedContentLocation(int index, TsString& out);

  // ---- Attached messages: every message/rfc822 part that is no attachment ----
  int get_NumAttachedMessages();
  // A new object owned by the caller; null for a bad index and for an empty message.
  TsEmail* GetAttachedMessage(int index);

  // ---- What none of the getters above hands out ----
  // The leaves that are neither chosen body, attachment, related item nor attached message.
  int get_NumLeftoverParts();
  bool GetLeftoverPartContentType(int index, TsString& out);
  // The part's own name; empty when it has none.
  bool GetLeftoverPartName(int index, TsString& out);
  // In bytes, as it stands in the message (not decoded); 0 for a bad index.
  std::uint64_t GetLeftoverPartSize(int index);

  // What the last operation did: its name, its notes, "Success" or why it failed.
  void get_LastErrorText(TsString& out);

 private:
  friend ClsEmail& ImplementationOf(const TsEmail&);
  explicit TsEmail(std::unique_ptr<ClsEmail> implP);
  std::unique_ptr<ClsEmail> _implP;
};

}  // namespace Tessary
