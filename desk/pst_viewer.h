// A PST opened for people to look into it: its folders, a page of messages anywhere in a folder,
// one message with all that is in it. It is read through MAPI as any mail program would, and
// changed in nothing.
//
// One at a time, and no conversion meanwhile: it starts MAPI, whose built-in implementation only
// reads until the viewer is gone. On one thread.
//
// Folders and messages are named by texts of letters, digits and "-", which hold for this PST as
// long as nothing is written into it. An attached message is named by its message and its number
// there: "ID-3". Whatever is damaged is an error of the call that meets it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/message_marks.h"
#include "desk/viewed_message.h"
#include "platform/status.h"
#include "platform/time.h"

namespace parvane::desk {

struct ViewedFolder {
  std::string id;
  std::string parent;  // empty: it lies on top
  std::u16string name;
  std::uint64_t messages = 0;
  std::uint64_t unread = 0;
  std::optional<std::uint64_t> bytes;  // of its messages; not where they are very many
};

struct ViewedRow {
  std::uint64_t row = 0;  // in its folder, from 0
  std::string id;         // empty: this row cannot be read, and the rest says nothing
  std::u16string from, to, subject;
  platform::FileTime time;  // submitted, else delivered; 0: neither is known
  std::uint64_t bytes = 0;
  bool attachments = false;
  MessageMarks marks;
};

struct ViewedPage {
  std::uint64_t total = 0;
  std::vector<ViewedRow> rows;
};

class PstViewer {
 public:
  // The file must be there.
  static platform::Result<std::unique_ptr<PstViewer>> Open(std::u16string_view path);
  ~PstViewer();

  // All of them, each behind the one it lies in.
  const std::vector<ViewedFolder>& folders() const;
  // Folders and lists of folders that cannot be read, in words.
  const std::vector<std::string>& unreadable() const;

  static constexpr std::size_t kMostRows = 200;
  // `count` rows from number `from`, in the file's order; fewer at the end.
  platform::Result<ViewedPage> Messages(std::string_view folder, std::uint64_t from,
                                        std::size_t count);
  platform::Result<ViewedMessage> Message(std::string_view id);
  // The message's text as a page (desk/message_text.h).
  platform::Result<std::string> Document(
      std::string_view id, const std::function<std::string(std::uint32_t)>& urlOfAttachment);
  // The bytes of an attachment that is a file, piece by piece; `begin` comes first. False from
  // either ends it early, which is no failure.
  platform::Status ReadAttachment(std::string_view id, std::uint32_t number,
                                  const std::function<bool(const ViewedAttachment&)>& begin,
                                  const std::function<bool(std::string_view)>& take);

 private:
  class Inside;
  explicit PstViewer(std::unique_ptr<Inside> inside);
  std::unique_ptr<Inside> _inside;
};

}  // namespace parvane::desk
