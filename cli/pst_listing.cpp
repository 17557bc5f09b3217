#include "cli/pst_listing.h"

#include <algorithm>
#include <set>

#include "mapi/constants.h"
#include "mapi/tags.h"

namespace parvane::cli {
namespace {

using mapi::ComPointer;
using mapi::IMAPIFolder;
using mapi::IMAPITable;
using mapi::RowSet;
using mapi::SPropValue;
using mapi::SRow;
using platform::Status;

constexpr mapi::LONG kRowsAtATime = 200;

std::string Bytes(const SPropValue* property) {
  if (!property) return {};
  return {reinterpret_cast<const char*>(property->Value.bin.lpb), property->Value.bin.cb};
}

mapi::ULONG NumberOf(const SPropValue* property) { return property ? property->Value.ul : 0; }

mapi::ENTRYID* EntryId(std::string& bytes) {
  return reinterpret_cast<mapi::ENTRYID*>(bytes.data());
}

class Walker {
 public:
  Walker(const PstSession& session, std::u16string_view path, ListingSink& sink)
      : _session(session), _path(path), _sink(sink) {}

  Status Run() {
    auto top = _session.TopFolder();
    if (!top.ok()) return top.status();
    QueueChildren(**top, {});
    while (!_pending.empty()) {
      const Pending next = std::move(_pending.back());
      _pending.pop_back();
      VisitFolder(next);
    }
    return _firstProblem;
  }

 private:
  struct Pending {
    std::string entryId;
    std::vector<std::u16string> path;
  };

  void Problem(std::string_view otherwise) {
    if (_firstProblem.ok()) _firstProblem = MapiFailure(_path, otherwise);
  }

  template <typename Visit>
  void ForEachRow(IMAPITable& table, mapi::SPropTagArray* columns, Visit visit) {
    if (mapi::Failed(table.SetColumns(columns, 0))) return Problem("a table cannot be read");
    for (;;) {
      RowSet rows;
      if (mapi::Failed(table.QueryRows(kRowsAtATime, 0, rows.Put())))
        return Problem("a table cannot be read to its end");
      if (rows.size() == 0) return;
      for (const SRow& row : rows) visit(row);
    }
  }

  void QueueChildren(IMAPIFolder& folder, const std::vector<std::u16string>& path) {
    ComPointer<IMAPITable> table;
    folder.GetHierarchyTable(mapi::MAPI_UNICODE, table.Put());
    if (!table) return Problem("a folder's list of folders cannot be read");
    mapi::SizedSPropTagArray<2> columns = {2, {mapi::PR_ENTRYID, mapi::PR_DISPLAY_NAME_W}};
    const std::size_t firstChild = _pending.size();
    ForEachRow(*table, columns.get(), [&](const SRow& row) {
      Pending child{Bytes(FindProperty(row, mapi::PR_ENTRYID)), path};
      child.path.push_back(TextOf(FindProperty(row, mapi::PR_DISPLAY_NAME_W)));
      // A damaged file may name a folder twice, or within itself.
      if (_seen.insert(child.entryId).second) _pending.push_back(std::move(child));
    });
    std::reverse(_pending.begin() + static_cast<std::ptrdiff_t>(firstChild), _pending.end());
  }

  void VisitFolder(const Pending& entry) {
    std::string id = entry.entryId;
    mapi::ULONG type = 0;
    ComPointer<IMAPIFolder> folder;
    _session.store().OpenEntry(static_cast<mapi::ULONG>(id.size()), EntryId(id), nullptr,
                               mapi::MAPI_BEST_ACCESS, &type, folder.PutUnknown());
    if (!folder) return Problem("a folder cannot be opened");
    ListedFolder listed{entry.path};
    Count(*folder, listed);
    _sink.BeginFolder(listed);
    if (_sink.WantsMessages()) ListMessages(*folder);
    _sink.EndFolder();
    QueueChildren(*folder, entry.path);
  }

  template <typename Visit>
  void ForEachMessage(IMAPIFolder& folder, mapi::SPropTagArray* columns, Visit visit) {
    ComPointer<IMAPITable> table;
    folder.GetContentsTable(mapi::MAPI_UNICODE, table.Put());
    if (!table) return Problem("a folder's messages cannot be read");
    ForEachRow(*table, columns, visit);
  }

  void Count(IMAPIFolder& folder, ListedFolder& listed) {
    mapi::SizedSPropTagArray<2> columns = {2, {mapi::PR_MESSAGE_SIZE, mapi::PR_MESSAGE_FLAGS}};
    ForEachMessage(folder, columns.get(), [&](const SRow& row) {
      ++listed.messages;
      listed.size += NumberOf(FindProperty(row, mapi::PR_MESSAGE_SIZE));
      listed.unread +=
          (NumberOf(FindProperty(row, mapi::PR_MESSAGE_FLAGS)) & mapi::MSGFLAG_READ) == 0;
    });
  }

  void ListMessages(IMAPIFolder& folder) {
    mapi::SizedSPropTagArray<8> columns = {
        8,
        {mapi::PR_MESSAGE_SIZE, mapi::PR_MESSAGE_FLAGS, mapi::PR_ENTRYID,
         mapi::PR_CLIENT_SUBMIT_TIME, mapi::PR_MESSAGE_DELIVERY_TIME,
         mapi::PR_SENT_REPRESENTING_NAME_W, mapi::PR_SENDER_NAME_W, mapi::PR_SUBJECT_W}};
    ForEachMessage(folder, columns.get(), [&](const SRow& row) { _sink.Message(Describe(row)); });
  }

  ListedMessage Describe(const SRow& row) {
    const mapi::ULONG flags = NumberOf(FindProperty(row, mapi::PR_MESSAGE_FLAGS));
    ListedMessage message;
    const SPropValue* time = FindProperty(row, mapi::PR_CLIENT_SUBMIT_TIME);
    if (!time) time = FindProperty(row, mapi::PR_MESSAGE_DELIVERY_TIME);
    if (time) message.time = time->Value.ft;
    message.from = TextOf(FindProperty(row, mapi::PR_SENT_REPRESENTING_NAME_W));
    if (message.from.empty()) message.from = TextOf(FindProperty(row, mapi::PR_SENDER_NAME_W));
    message.subject = TextOf(FindProperty(row, mapi::PR_SUBJECT_W));
    message.size = NumberOf(FindProperty(row, mapi::PR_MESSAGE_SIZE));
    message.unread = (flags & mapi::MSGFLAG_READ) == 0;
    if (flags & mapi::MSGFLAG_HASATTACH)
      AddAttachments(Bytes(FindProperty(row, mapi::PR_ENTRYID)), message);
    return message;
  }

  void AddAttachments(std::string entryId, ListedMessage& listed) {
    mapi::ULONG type = 0;
    ComPointer<mapi::IMessage> message;
    _session.store().OpenEntry(static_cast<mapi::ULONG>(entryId.size()), EntryId(entryId), nullptr,
                               0, &type, message.PutUnknown());
    if (!message) return Problem("a message cannot be opened");
    ComPointer<IMAPITable> table;
    message->GetAttachmentTable(mapi::MAPI_UNICODE, table.Put());
    if (!table) return Problem("a message's attachments cannot be read");
    mapi::SizedSPropTagArray<3> columns = {
        3, {mapi::PR_ATTACH_LONG_FILENAME_W, mapi::PR_ATTACH_FILENAME_W, mapi::PR_DISPLAY_NAME_W}};
    ForEachRow(*table, columns.get(), [&](const SRow& row) {
      std::u16string name;
      for (mapi::ULONG tag : columns.aulPropTag) {
        if (name.empty()) name = TextOf(FindProperty(row, tag));
      }
      listed.attachments.push_back(std::move(name));
    });
  }

  const PstSession& _session;
  std::u16string_view _path;
  ListingSink& _sink;
  std::vector<Pending> _pending;  // the next on top
  std::set<std::string> _seen;
  Status _firstProblem;
};

}  // namespace

Status WalkPst(const PstSession& session, std::u16string_view path, ListingSink& sink) {
  return Walker(session, path, sink).Run();
}

}  // namespace parvane::cli
