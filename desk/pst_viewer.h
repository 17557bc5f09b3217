// A PST opened for people to look into it: its folders, a page of messages anywhere in a folder,
// one message with all that is in it. It is read through MAPI as any mail program would, and
// changed in nothing.
//
// One at a time, and no conversion meanwhile: it starts MAPI, with the options of the built-in
// implementation changed to reading only until it is gone. On one thread.
//
// Folders and messages are named by texts of letters, digits and "-", which hold for this PST as
// long as nothing is written into it. Whatever is damaged is an error of the call that meets it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/status.h"
#include "platform/time.h"

namespace parvane::desk {

struct ViewedFolder {
  std::string id;
  std::string parent;  // empty: it lies on top
  std::u16string name;
  std::uint64_t messages = 0;
  std::uint64_t unread = 0;
  std::optional<std::uint64_t> bytes;  // of its messages; not of folders with very many
};

struct MessageMarks {
  bool unread = false, draft = false, flagged = false, completed = false;
  bool replied = false, forwarded = false;
  int importance = 1;  // 0 low, 2 high
  bool attachments = false;
  std::vector<std::u16string> categories;
};

struct ViewedRow {
  std::uint64_t row = 0;  // in its folder, from 0
  std::string id;         // empty: this row cannot be read, and the rest says nothing
  std::u16string from, to, subject;
  platform::FileTime time;  // submitted, else delivered; 0: neither is known
  std::uint64_t bytes = 0;
  MessageMarks marks;
};

struct ViewedPage {
  std::uint64_t total = 0;
  std::vector<ViewedRow> rows;
};

struct ViewedPerson {
  std::u16string name;
  std::u16string address;
};

struct ViewedAttachment {
  std::uint32_t number = 0;
  std::u16string name;
  std::uint64_t bytes = 0;
  std::string type;       // "image/png"; empty: not known
  std::string contentId;  // what the text calls it by
  bool inPlace = false;   // shown in the text
  std::string message;    // an attached message: what it is named; empty: a file
};

struct ViewedProperty {
  std::uint32_t tag = 0;
  std::string name;       // "PR_SUBJECT", the name of a named one; empty: it has none here
  std::string_view type;  // "text", "number", ...
  std::string value;      // in words; a long one cut
};

enum class ViewedBody { kNone, kText, kHtml };

struct ViewedMessage {
  std::u16string subject;
  ViewedPerson from;
  std::optional<ViewedPerson> sender;  // where another one sent it
  std::vector<ViewedPerson> to, cc, bcc;
  platform::FileTime submitted, delivered;
  std::uint64_t bytes = 0;
  MessageMarks marks;
  std::string headers;  // as transported, UTF-8; a very long text cut
  ViewedBody body = ViewedBody::kNone;
  std::vector<ViewedAttachment> attachments;
  std::vector<ViewedProperty> properties;
  std::vector<std::string> unreadable;  // what is missing here because it cannot be read
};

class PstViewer {
 public:
  static platform::Result<std::unique_ptr<PstViewer>> Open(std::u16string_view path);
  ~PstViewer();

  // All of them, each behind the one it lies in.
  const std::vector<ViewedFolder>& folders() const;
  // Folders and lists that cannot be read, in words.
  const std::vector<std::string>& unreadable() const;

  // `count` rows from number `from`, in the file's order; fewer at the end. At most 200.
  platform::Result<ViewedPage> Messages(std::string_view folder, std::uint64_t from,
                                        std::size_t count);
  platform::Result<ViewedMessage> Message(std::string_view id);
  // The text of the message as a page of safe HTML (desk/safe_html.h). `urlOfAttachment`: where the
  // page finds the picture with this number.
  platform::Result<std::string> Document(
      std::string_view id, const std::function<std::string(std::uint32_t)>& urlOfAttachment);

  // The bytes of an attachment that is a file, piece by piece; false from `take` ends it early.
  // `begin` is called first.
  platform::Status ReadAttachment(std::string_view id, std::uint32_t number,
                                  const std::function<void(const ViewedAttachment&)>& begin,
                                  const std::function<bool(std::string_view)>& take);

 private:
  class Implementation;
  explicit PstViewer(std::unique_ptr<Implementation> implementation);
  std::unique_ptr<Implementation> _implementation;
};

}  // namespace parvane::desk
