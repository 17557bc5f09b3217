#include "desk/pst_listing.h"

#include <span>

#include <fmt/format.h>

#include "desk/pst_folders.h"
#include "desk/pst_rows.h"
#include "mapi/constants.h"
#include "mapi/identifiers.h"
#include "mapi/results.h"
#include "mapi/tags.h"

namespace parvane::desk {
namespace {

using mapi::ComPointer;
using mapi::IMAPIFolder;
using mapi::IMAPITable;
using mapi::SPropValue;
using mapi::SRow;
using platform::Status;

mapi::ULONG NumberOf(const SPropValue* property) { return property ? property->Value.ul : 0; }

using Path = std::vector<std::u16string>;

// A message of the listing, for those who have to name it.
struct Place {
  const Path& folder;
  std::uint64_t message;  // from 1
};

class Walker : public PstFolderVisitor {
 public:
  Walker(const PstSession& session, ListingSink& sink)
      : _session(session), _sink(sink), _keywords(KeywordsTag(session.store())) {}

  bool Visit(const Path& path, IMAPIFolder& folder) override {
    ListedFolder listed{path};
    Count(folder, listed);
    _sink.BeginFolder(listed);
    if (_sink.WantsMessages()) ListMessages(folder, listed);
    _sink.EndFolder();
    return true;
  }
  void Unreadable(const std::string& what) override { _sink.Unreadable(what); }

 private:
  void Unreadable(const Path& folder, std::string_view what) {
    Unreadable(UnreadableText(folder, what));
  }

  // The cell; null when there is none, and, which is told, when it cannot be read.
  const SPropValue* Cell(const SRow& row, mapi::ULONG tag, Place place, std::string_view what) {
    if (const SPropValue* cell = FindProperty(row, tag)) return cell;
    const SPropValue* error = FindProperty(row, mapi::PropTag(mapi::PT_ERROR, mapi::PropId(tag)));
    // What is too long for a row is left out of it by design.
    if (error && error->Value.err != mapi::MAPI_E_NOT_FOUND &&
        error->Value.err != mapi::MAPI_E_NOT_ENOUGH_MEMORY) {
      Unreadable(place.folder, fmt::format("{} of message {}", what, place.message));
    }
    return nullptr;
  }

  // `tells`: of what cannot be read.
  template <typename Visit>
  void ForEachMessage(IMAPIFolder& folder, mapi::SPropTagArray* columns, const ListedFolder& listed,
                      bool tells, Visit visit) {
    ComPointer<IMAPITable> table;
    folder.GetContentsTable(mapi::MAPI_UNICODE, table.Put());
    const auto step = [&](const SRow& row, std::uint64_t number) {
      visit(row, number);
      _sink.Progress(listed, number);
    };
    const auto lost = [&](std::uint64_t first, std::uint64_t last) {
      if (tells)
        Unreadable(listed.path, fmt::format("the list of messages, {} to {},", first, last));
    };
    if ((!table || !ForEachRow(*table, columns, {step, lost})) && tells)
      Unreadable(listed.path, "the list of messages");
  }

  void Count(IMAPIFolder& folder, ListedFolder& listed) {
    mapi::SizedSPropTagArray<2> columns = {2, {mapi::PR_MESSAGE_SIZE, mapi::PR_MESSAGE_FLAGS}};
    ForEachMessage(
        folder, columns.get(), listed, !_sink.WantsMessages(), [&](const SRow& row, std::uint64_t) {
          ++listed.messages;
          listed.size += NumberOf(FindProperty(row, mapi::PR_MESSAGE_SIZE));
          listed.unread +=
              (NumberOf(FindProperty(row, mapi::PR_MESSAGE_FLAGS)) & mapi::MSGFLAG_READ) == 0;
        });
  }

  void ListMessages(IMAPIFolder& folder, const ListedFolder& listed) {
    mapi::SizedSPropTagArray<7 + kMarkTags> columns = {
        7,
        {mapi::PR_MESSAGE_SIZE, mapi::PR_ENTRYID, mapi::PR_CLIENT_SUBMIT_TIME,
         mapi::PR_MESSAGE_DELIVERY_TIME, mapi::PR_SENT_REPRESENTING_NAME_W, mapi::PR_SENDER_NAME_W,
         mapi::PR_SUBJECT_W}};
    AddMarkTags(columns.get(), _keywords);
    ForEachMessage(folder, columns.get(), listed, true, [&](const SRow& row, std::uint64_t number) {
      _sink.Message(Describe(row, {listed.path, number}));
    });
  }

  ListedMessage Describe(const SRow& row, Place place) {
    const mapi::ULONG flags = NumberOf(FindProperty(row, mapi::PR_MESSAGE_FLAGS));
    ListedMessage message;
    const SPropValue* time = Cell(row, mapi::PR_CLIENT_SUBMIT_TIME, place, "the date");
    if (!time) time = Cell(row, mapi::PR_MESSAGE_DELIVERY_TIME, place, "the date");
    if (time) message.time = time->Value.ft;
    message.from = TextOf(Cell(row, mapi::PR_SENT_REPRESENTING_NAME_W, place, "the sender"));
    if (message.from.empty())
      message.from = TextOf(Cell(row, mapi::PR_SENDER_NAME_W, place, "the sender"));
    message.subject = TextOf(Cell(row, mapi::PR_SUBJECT_W, place, "the subject"));
    message.size = NumberOf(FindProperty(row, mapi::PR_MESSAGE_SIZE));
    static_cast<MessageMarks&>(message) = MarksOf(row, _keywords);
    if ((flags & mapi::MSGFLAG_HASATTACH) &&
        !AddAttachments(BytesOf(FindProperty(row, mapi::PR_ENTRYID)), message)) {
      Unreadable(place.folder, fmt::format("the attachments of message {}", place.message));
    }
    return message;
  }

  // False when not all of them could be read.
  bool AddAttachments(std::string entryId, ListedMessage& listed) {
    mapi::ULONG type = 0;
    ComPointer<mapi::IMessage> message;
    _session.store().OpenEntry(static_cast<mapi::ULONG>(entryId.size()), EntryIdOf(entryId),
                               nullptr, 0, &type, message.PutUnknown());
    ComPointer<IMAPITable> table;
    if (message) message->GetAttachmentTable(mapi::MAPI_UNICODE, table.Put());
    if (!table) return false;
    mapi::SizedSPropTagArray<4> columns = {
        4,
        {mapi::PR_ATTACH_LONG_FILENAME_W, mapi::PR_ATTACH_FILENAME_W, mapi::PR_DISPLAY_NAME_W,
         mapi::PR_ATTACHMENT_HIDDEN}};
    bool complete = true;
    const auto add = [&](const SRow& row, std::uint64_t) {
      const SPropValue* hidden = FindProperty(row, mapi::PR_ATTACHMENT_HIDDEN);
      if (hidden && hidden->Value.b) return;
      std::u16string name;
      for (mapi::ULONG tag : std::span(columns.aulPropTag).first<3>()) {
        if (name.empty()) name = TextOf(FindProperty(row, tag));
      }
      listed.attachments.push_back(std::move(name));
    };
    const auto lost = [&](std::uint64_t, std::uint64_t) { complete = false; };
    return ForEachRow(*table, columns.get(), {add, lost}) && complete;
  }

  const PstSession& _session;
  ListingSink& _sink;
  mapi::ULONG _keywords;
};

}  // namespace

Status WalkPst(const PstSession& session, ListingSink& sink) {
  Walker walker(session, sink);
  return WalkFolders(session, walker);
}

}  // namespace parvane::desk
