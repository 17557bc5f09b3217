#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/pst_viewer.h"
#include "parvane/c_api.h"
#include "parvane/c_guard.h"
#include "parvane/mapi_choice.h"
#include "platform/path.h"
#include "platform/text.h"

using parvane::desk::MessageMarks;
using parvane::desk::PstViewer;
using parvane::desk::ViewedAttachment;
using parvane::desk::ViewedFolder;
using parvane::desk::ViewedMessage;
using parvane::desk::ViewedPerson;
using parvane::desk::ViewedRow;
using parvane::platform::Status;
using parvane::platform::Utf16ToUtf8;

struct parvane_pst {
  std::unique_ptr<PstViewer> viewer;
  std::optional<std::string> error;

  // What the last answers point into.
  std::string folderName;
  std::string id, subject, from, to, cc, bcc;
  std::optional<ViewedMessage> message;
  std::string attachmentName, attachedMessage, link;
  std::string page;
};

namespace {

std::int64_t UnixSeconds(parvane::platform::FileTime time) {
  const std::uint64_t ticks = parvane::platform::FileTimeTicks(time);
  if (ticks == 0) return 0;
  return static_cast<std::int64_t>(ticks / 10'000'000) -
         parvane::platform::kUnixEpochInFileTimeSeconds;
}

std::string NameAndAddress(const ViewedPerson& person) {
  std::string text = Utf16ToUtf8(person.name);
  if (person.address.empty() || person.address == person.name) return text;
  const std::string address = "<" + Utf16ToUtf8(person.address) + ">";
  return text.empty() ? address : text + " " + address;
}

std::string AllOf(const std::vector<ViewedPerson>& people) {
  std::string text;
  for (const ViewedPerson& person : people)
    text.append(text.empty() ? "" : "; ").append(NameAndAddress(person));
  return text;
}

void SetMarks(const MessageMarks& marks, parvane_message& message) {
  message.unread = marks.unread;
  message.flagged = marks.flag == MessageMarks::Flag::kFlagged;
  message.replied = marks.replied;
  message.forwarded = marks.forwarded;
}

int Told(parvane_pst* pst, const Status& status) {
  pst->error.reset();
  if (status.ok()) return 0;
  pst->error = status.message();
  return -1;
}

// Where the PST is not open, the reason for that stays.
template <typename Work>
int WithPst(parvane_pst* pst, Work work) {
  return parvane::Guarded(-1, [&] { return pst->viewer ? Told(pst, work(*pst->viewer)) : -1; });
}

parvane_message Listed(parvane_pst* pst, const ViewedRow& row) {
  pst->subject = Utf16ToUtf8(row.subject);
  pst->from = Utf16ToUtf8(row.from);
  pst->to = Utf16ToUtf8(row.to);
  parvane_message message = {};
  message.id = row.id.c_str();
  message.subject = pst->subject.c_str();
  message.from = pst->from.c_str();
  message.to = pst->to.c_str();
  message.cc = message.bcc = message.headers = "";
  message.time = UnixSeconds(row.time);
  message.bytes = row.bytes;
  message.attachments = row.attachments;
  SetMarks(row.marks, message);
  return message;
}

parvane_message Whole(parvane_pst* pst) {
  const ViewedMessage& found = *pst->message;
  pst->subject = Utf16ToUtf8(found.subject);
  pst->from = NameAndAddress(found.from);
  pst->to = AllOf(found.to);
  pst->cc = AllOf(found.cc);
  pst->bcc = AllOf(found.bcc);
  parvane_message message = {};
  message.id = pst->id.c_str();
  message.subject = pst->subject.c_str();
  message.from = pst->from.c_str();
  message.to = pst->to.c_str();
  message.cc = pst->cc.c_str();
  message.bcc = pst->bcc.c_str();
  message.headers = found.headers.c_str();
  message.delivered = UnixSeconds(found.delivered);
  message.time = message.delivered;
  if (const std::int64_t submitted = UnixSeconds(found.submitted); submitted != 0)
    message.time = submitted;
  message.bytes = found.bytes;
  message.attachments = found.attachments.size();
  SetMarks(found.marks, message);
  return message;
}

std::string LinkTo(std::uint32_t attachment) { return "attachment-" + std::to_string(attachment); }

const ViewedAttachment* Attachment(const parvane_pst* pst, size_t number) {
  if (!pst->message || number >= pst->message->attachments.size()) return nullptr;
  return &pst->message->attachments[number];
}

}  // namespace

parvane_pst* parvane_pst_open(const char* path) {
  return parvane::Guarded<parvane_pst*>(nullptr, [&] {
    auto pst = std::make_unique<parvane_pst>();
    Told(pst.get(), parvane::ChooseMapi(parvane::desk::MapiChoice::kBuiltin));
    auto viewer = PstViewer::Open(parvane::platform::PathFromNative(path));
    if (viewer.ok()) {
      pst->viewer = std::move(viewer).value();
    } else {
      Told(pst.get(), viewer.status());
    }
    return pst.release();
  });
}

void parvane_pst_close(parvane_pst* pst) { delete pst; }

const char* parvane_pst_error(const parvane_pst* pst) {
  return pst->error ? pst->error->c_str() : nullptr;
}

size_t parvane_pst_folder_count(const parvane_pst* pst) {
  return pst->viewer ? pst->viewer->folders().size() : 0;
}

int parvane_pst_folder(parvane_pst* pst, size_t number, parvane_folder* folder) {
  if (number >= parvane_pst_folder_count(pst)) return -1;
  return WithPst(pst, [&](PstViewer& viewer) {
    const ViewedFolder& found = viewer.folders()[number];
    pst->folderName = Utf16ToUtf8(found.name);
    *folder = {found.id.c_str(), found.parent.c_str(), pst->folderName.c_str(), found.messages,
               found.unread};
    return Status();
  });
}

int parvane_pst_messages(parvane_pst* pst, const char* folder, uint64_t from, size_t count,
                         int (*take)(void* context, const parvane_message* message),
                         void* context) {
  return WithPst(pst, [&](PstViewer& viewer) {
    while (count > 0) {
      const std::size_t wanted = std::min(count, PstViewer::kMostRows);
      const auto page = viewer.Messages(folder, from, wanted);
      if (!page.ok()) return page.status();
      for (const ViewedRow& row : page->rows) {
        const parvane_message message = Listed(pst, row);
        if (take(context, &message) != 0) return Status();
      }
      if (page->rows.size() < wanted) break;
      from += wanted;
      count -= wanted;
    }
    return Status();
  });
}

int parvane_pst_message(parvane_pst* pst, const char* id, parvane_message* message) {
  return WithPst(pst, [&](PstViewer& viewer) {
    const std::string wanted = id;  // may be an earlier answer
    pst->message.reset();
    auto found = viewer.Message(wanted);
    if (!found.ok()) return found.status();
    pst->id = wanted;
    pst->message = std::move(found).value();
    *message = Whole(pst);
    return Status();
  });
}

const char* parvane_pst_page(parvane_pst* pst, const char* id) {
  const int made = WithPst(pst, [&](PstViewer& viewer) {
    auto page = viewer.Document(id, LinkTo);
    if (!page.ok()) return page.status();
    pst->page = std::move(page).value();
    return Status();
  });
  return made == 0 ? pst->page.c_str() : nullptr;
}

int parvane_pst_attachment(parvane_pst* pst, size_t number, parvane_attachment* attachment) {
  const ViewedAttachment* found = Attachment(pst, number);
  if (!found) return -1;
  return WithPst(pst, [&](PstViewer&) {
    pst->attachmentName = Utf16ToUtf8(found->name);
    pst->attachedMessage = found->isMessage ? pst->id + "-" + std::to_string(found->number) : "";
    pst->link = LinkTo(found->number);
    *attachment = {pst->attachmentName.c_str(), found->type.c_str(), pst->attachedMessage.c_str(),
                   pst->link.c_str(), found->bytes};
    return Status();
  });
}

int parvane_pst_read_attachment(parvane_pst* pst, size_t number,
                                int (*take)(void* context, const void* bytes, size_t count),
                                void* context) {
  const ViewedAttachment* found = Attachment(pst, number);
  if (!found) return -1;
  return WithPst(pst, [&](PstViewer& viewer) {
    return viewer.ReadAttachment(
        pst->id, found->number, [](const ViewedAttachment&) { return true; },
        [&](std::string_view piece) { return take(context, piece.data(), piece.size()) == 0; });
  });
}
