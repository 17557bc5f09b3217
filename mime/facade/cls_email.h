// What stands behind a TsEmail: a parsed message and what has been worked out about it.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mime/address_list.h"
#include "mime/email2.h"
#include "mime/email_structure.h"
#include "mime/facade/operation_log.h"
#include "mime/removed_attachments.h"
#include "platform/pooled_object.h"
#include "platform/recycled_vector.h"

namespace Tessary {

class ClsByteData;
class ClsString;

class ClsEmail : public parvane::platform::PooledObject<ClsEmail> {
 public:
  using List = AddressField;
  enum class PartList { kAttachments, kRelatedItems };
  enum class MailBoxPart { kName, kAddress };

  ClsEmail() = default;
  // A message that was found `depth` levels down in another one.
  explicit ClsEmail(int depth) : _depth(depth) {}

  bool SetFromMime(const char* operation, const ByteSlice& text);
  // What SetFromMime makes of the entity's text. The entity is not parsed anew where that can be
  // avoided, and must not change any more.
  bool SetFromEntity(std::shared_ptr<MimeMessage2> entity);

  // ---- Header ----
  bool From(ClsString& out);
  bool FromPart(const char* operation, MailBoxPart part, ClsString& out);
  bool Subject(ClsString& out);
  bool DateText(ClsString& out);
  bool Header(ClsString& out);
  bool HeaderField(std::string_view name, ClsString& out);
  // Reads any number of fields in one operation, which lasts as long as this lives; the e-mail
  // takes no other call meanwhile.
  class Fields {
   public:
    explicit Fields(ClsEmail& email);
    ~Fields();
    Fields(const Fields&) = delete;
    Fields& operator=(const Fields&) = delete;

    // HeaderField as UTF-8: a view of the message where that reads as it stands, else of `scratch`
    // or of what was decoded, until another field is asked for.
    bool View(std::string_view name, std::string& scratch, std::string_view& out);
    // HeaderField (cut where asked for) and From, appended to text; nothing is appended when they
    // fail.
    bool Append(std::string_view name, std::u16string& out, std::size_t mostBytes = SIZE_MAX);
    void AppendFrom(std::u16string& out);
    // The date that the Date field holds, cleared when that cannot be read; false when there is no
    // such field.
    bool Date(DateValue& out);

   private:
    ClsEmail& _email;
    std::lock_guard<std::mutex> _lock;
    bool _success = true;  // of all so far
  };
  // The bytes of Header, and the same with a NUL behind them where there is one, else null.
  ByteSlice HeaderBytes() const { return _message->root.entity().headerSlice(); }
  const char* TerminatedHeader() const {
    return !_message ? nullptr : _message->root.entity().terminatedHeader();
  }
  int RecipientCount(const char* operation, List list);
  bool Recipient(const char* operation, List list, MailBoxPart part, int index, ClsString& out);
  // Calls `take` with all mailboxes of a list, one by one, until it returns false; a long list that
  // repair rewrote is not held for it.
  using TakeMailBox = std::function<bool(const MailBox&)>;
  void ForEachMailbox(List list, const TakeMailBox& take);
  // False when there is certainly no such field.
  bool MayHave(List list) const {
    return _message && _message->root.header().MayHave(NameOf(list));
  }
  // ForEachMailbox where they are known without reading the field; else false, without a call.
  bool ForEachKnownMailbox(List list, const TakeMailBox& take);

  // ---- Bodies ----
  bool PlainTextBody(ClsString& out);
  bool HtmlBody(ClsString& out);
  // A body decoded from its transfer encoding, with the names of the charsets to read it in (see
  // text_decoding.h).
  struct Body {
    ByteSlice bytes;
    std::string declaredCharset;
    std::string fallbackCharset;
  };
  bool PlainTextBody(Body& out);
  bool HtmlBody(Body& out);

  // ---- Parts ----
  int PartCount(const char* operation, PartList list);
  bool PartData(const char* operation, PartList list, int index, ClsByteData& out);
  // The same, piece by piece.
  bool DecodePart(PartList list, int index, ByteSink& sink);
  bool PartFileName(const char* operation, PartList list, int index, ClsString& out);
  bool PartContentType(const char* operation, PartList list, int index, ClsString& out);
  // A field of the part's header; angle brackets around the value are taken off.
  bool PartField(const char* operation, PartList list, int index, std::string_view field,
                 ClsString& out);
  bool LeftoverContentType(int index, ClsString& out);
  bool LeftoverName(int index, ClsString& out);
  std::uint64_t LeftoverSize(int index);
  int LeftoverCount();
  std::vector<RemovedAttachment> RemovedAttachments();
  int AttachedMessageCount();
  std::unique_ptr<ClsEmail> AttachedMessage(int index);

  std::string LastErrorText();

  bool utf8Flag = false;

 private:
  // Everything about one message, made when it is parsed.
  struct Message {
    explicit Message(std::shared_ptr<const MimeMessage2> message)
        : entity(std::move(message)), root(*entity), structure(root) {}
    std::shared_ptr<const MimeMessage2> entity;
    Email2 root;
    EmailStructure structure;
    std::string charset;  // the message's own, for text that names none; may be empty
    std::optional<parvane::platform::RecycledVector<MailBox>> lists[kAddressFields.size()];
    // The last field that had to be decoded: the subject is asked for again.
    const MimeField* decodedField = nullptr;
    std::string decodedText;
  };

  // The frame of every operation: the critical section, a log context closed with the outcome,
  // and the test that there is a message.
  template <typename Work>
  bool Run(const char* operation, Work work);

  void SetMessage(std::shared_ptr<const MimeMessage2> entity);
  void GiveHeaderText(std::string_view raw, ClsString& out) const;
  const MimeField* FindField(std::string_view name);
  void AppendFromTo(std::u16string& out);
  bool GiveBody(const Email2* node, bool html, Body& out);
  const std::vector<MailBox>& Mailboxes(List list);
  std::string_view ListText(List list, std::string& joined, std::string& scratch) const;
  // Both call `take` with the mailboxes until it returns false; the former only if the facts of the
  // entity have them.
  template <typename Take>
  bool ForEachKnown(List list, Take take);
  template <typename Take>
  void ForEach(List list, Take take);
  const std::vector<const Email2*>& Parts(PartList list) const;
  // Null, with the reason in the log, for a bad index.
  const Email2* PartAt(PartList list, int index);
  const LeftoverPart* LeftoverAt(int index);

  std::mutex _criticalSection;
  OperationLog _log;
  std::optional<Message> _message;
  MailBox _known;  // handed out by ForEachKnown
  int _depth = 0;
};

}  // namespace Tessary
