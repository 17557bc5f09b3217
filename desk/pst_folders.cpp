#include "desk/pst_folders.h"

#include <algorithm>
#include <set>

#include <fmt/format.h>

#include "desk/format.h"
#include "desk/pst_rows.h"
#include "mapi/constants.h"
#include "mapi/diagnostics.h"
#include "mapi/tags.h"

namespace parvane::desk {
namespace {

using mapi::ComPointer;
using mapi::IMAPIFolder;
using Path = std::vector<std::u16string>;

class Walker {
 public:
  Walker(const PstSession& session, PstFolderVisitor& visitor)
      : _session(session), _visitor(visitor) {}

  platform::Status Run() {
    auto top = _session.TopFolder();
    if (!top.ok()) return top.status();
    QueueChildren(**top, {});
    bool goesOn = VisitTop(**top);
    while (goesOn && !_pending.empty()) {
      const Pending next = std::move(_pending.back());
      _pending.pop_back();
      goesOn = VisitFolder(next);
    }
    return {};
  }

 private:
  struct Pending {
    std::string entryId;
    Path path;
  };

  // Mail programs put no mail beside the folders, but whoever writes a PST can.
  bool VisitTop(IMAPIFolder& top) {
    mapi::SizedSPropTagArray<2> tags = {2, {mapi::PR_CONTENT_COUNT, mapi::PR_DISPLAY_NAME_W}};
    mapi::ULONG count = 0;
    mapi::MapiBuffer<mapi::SPropValue> values;
    top.GetProps(tags.get(), mapi::MAPI_UNICODE, &count, values.Put());
    if (count != 2 || values[0].ulPropTag != mapi::PR_CONTENT_COUNT || values[0].Value.l == 0)
      return true;
    const bool named = values[1].ulPropTag == mapi::PR_DISPLAY_NAME_W;
    return _visitor.Visit({named ? TextOf(&values[1]) : u"?"}, top);
  }

  void Unreadable(const Path& folder, std::string_view what) {
    _visitor.Unreadable(UnreadableText(folder, what));
  }

  void QueueChildren(IMAPIFolder& folder, const Path& path) {
    ComPointer<mapi::IMAPITable> table;
    folder.GetHierarchyTable(mapi::MAPI_UNICODE, table.Put());
    mapi::SizedSPropTagArray<2> columns = {2, {mapi::PR_ENTRYID, mapi::PR_DISPLAY_NAME_W}};
    const std::size_t firstChild = _pending.size();
    const auto queue = [&](const mapi::SRow& row, std::uint64_t number) {
      Pending child{BytesOf(FindProperty(row, mapi::PR_ENTRYID)), path};
      const mapi::SPropValue* name = FindProperty(row, mapi::PR_DISPLAY_NAME_W);
      if (!name) Unreadable(path, fmt::format("the name of its folder {}", number));
      child.path.push_back(name ? TextOf(name) : u"?");
      // A damaged file may name a folder twice, or within itself.
      if (_seen.insert(child.entryId).second) _pending.push_back(std::move(child));
    };
    const auto lost = [&](std::uint64_t first, std::uint64_t last) {
      Unreadable(path, fmt::format("the list of its folders, {} to {},", first, last));
    };
    if (!table || !ForEachRow(*table, columns.get(), {queue, lost}))
      Unreadable(path, "the list of its folders");
    std::reverse(_pending.begin() + static_cast<std::ptrdiff_t>(firstChild), _pending.end());
  }

  bool VisitFolder(const Pending& entry) {
    const ComPointer<IMAPIFolder> folder = _session.OpenFolder(entry.entryId);
    if (!folder) {
      Unreadable(entry.path, "the folder, with all that is in it,");
      return true;
    }
    if (!_visitor.Visit(entry.path, *folder)) return false;
    QueueChildren(*folder, entry.path);
    return true;
  }

  const PstSession& _session;
  PstFolderVisitor& _visitor;
  std::vector<Pending> _pending;  // the next on top
  std::set<std::string> _seen;
};

}  // namespace

platform::Status WalkFolders(const PstSession& session, PstFolderVisitor& visitor) {
  return Walker(session, visitor).Run();
}

std::string UnreadableText(const Path& path, std::string_view what) {
  const std::string& why = mapi::LastFailure().text;
  std::string text =
      fmt::format("{}: {} cannot be read{}{}", path.empty() ? "the top folder" : FolderPath(path),
                  what, why.empty() ? "" : ": ", why);
  mapi::ResetDiagnostics();
  return text;
}

std::string BytesOf(const mapi::SPropValue* property) {
  if (!property) return {};
  return {reinterpret_cast<const char*>(property->Value.bin.lpb), property->Value.bin.cb};
}

mapi::ENTRYID* EntryIdOf(std::string& bytes) {
  return reinterpret_cast<mapi::ENTRYID*>(bytes.data());
}

}  // namespace parvane::desk
