#include "desk/folders_there.h"

#include <set>

#include "desk/pst_session.h"
#include "mapi/constants.h"
#include "mapi/tags.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using mapi::ComPointer;
using mapi::IMAPIFolder;
using mapi::SRow;
using platform::Result;
using platform::Status;

constexpr mapi::LONG kRowsAtATime = 200;

// Folders without a class are taken for mail by every program.
bool HoldsMail(std::u16string_view containerClass) {
  return containerClass.empty() || platform::EqualsIgnoreCase(containerClass, u"IPF.Note");
}

class Walker {
 public:
  Walker(const PstSession& session, std::u16string_view path, FoldersThere& found)
      : _session(session), _path(path), _found(found) {}

  Status Run() {
    auto top = _session.TopFolder();
    if (!top.ok()) return top.status();
    Status status = VisitChildren(**top, {});
    while (status.ok() && !_pending.empty()) {
      const Pending next = std::move(_pending.back());
      _pending.pop_back();
      if (ComPointer<IMAPIFolder> folder = _session.OpenFolder(next.entryId); folder)
        status = VisitChildren(*folder, next.path);
    }
    return status;
  }

 private:
  struct Pending {
    std::string entryId;
    std::vector<std::u16string> path;
  };

  Status VisitChildren(IMAPIFolder& folder, const std::vector<std::u16string>& path) {
    ComPointer<mapi::IMAPITable> table;
    folder.GetHierarchyTable(mapi::MAPI_UNICODE, table.Put());
    mapi::SizedSPropTagArray<5> columns = {
        5,
        {mapi::PR_ENTRYID, mapi::PR_DISPLAY_NAME_W, mapi::PR_CONTAINER_CLASS_W, mapi::PR_SUBFOLDERS,
         mapi::PR_CONTENT_COUNT}};
    const auto failed = [&] { return MapiFailure(_path, "its folders cannot be read"); };
    if (!table || mapi::Failed(table->SetColumns(columns.get(), 0))) return failed();
    for (;;) {
      mapi::RowSet rows;
      if (mapi::Failed(table->QueryRows(kRowsAtATime, 0, rows.Put()))) return failed();
      if (rows.size() == 0) return {};
      for (const SRow& row : rows) VisitRow(row, path);
    }
  }

  void VisitRow(const SRow& row, const std::vector<std::u16string>& path) {
    const mapi::SPropValue* id = FindProperty(row, mapi::PR_ENTRYID);
    if (!id) return;
    Pending child{{reinterpret_cast<const char*>(id->Value.bin.lpb), id->Value.bin.cb}, path};
    child.path.push_back(TextOf(FindProperty(row, mapi::PR_DISPLAY_NAME_W)));
    const mapi::SPropValue* count = FindProperty(row, mapi::PR_CONTENT_COUNT);
    _found.Add(child.path, child.entryId,
               HoldsMail(TextOf(FindProperty(row, mapi::PR_CONTAINER_CLASS_W))),
               count ? count->Value.ul : 0);
    const mapi::SPropValue* holdsOthers = FindProperty(row, mapi::PR_SUBFOLDERS);
    if (holdsOthers && holdsOthers->Value.b == 0) return;
    // A damaged file may name a folder twice, or within itself.
    if (_seen.insert(child.entryId).second) _pending.push_back(std::move(child));
  }

  const PstSession& _session;
  std::u16string _path;
  FoldersThere& _found;
  std::vector<Pending> _pending;
  std::set<std::string> _seen;
};

}  // namespace

Result<FoldersThere> FoldersThere::In(std::u16string_view pst) {
  auto session = PstSession::Open(pst);
  if (!session.ok()) return session.status();
  FoldersThere found;
  if (Status status = Walker(*session, pst, found).Run(); !status.ok()) return status;
  return found;
}

void FoldersThere::Add(const Path& path, std::string entryId, bool holdsMail,
                       std::uint64_t messages) {
  _messages += messages;
  Path folded = Folded(path);
  if (!holdsMail) _foreign.insert(folded);
  _entryIds.try_emplace(std::move(folded), std::move(entryId));
}

const std::string* FoldersThere::EntryIdOf(const Path& path) const {
  const auto found = _entryIds.find(Folded(path));
  return found == _entryIds.end() ? nullptr : &found->second;
}

FoldersThere::Path FoldersThere::Folded(const Path& path) {
  Path folded;
  for (const std::u16string& name : path) folded.push_back(platform::FoldCase(name));
  return folded;
}

}  // namespace parvane::desk
