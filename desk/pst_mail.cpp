#include "desk/pst_mail.h"

#include <fmt/format.h>

#include "desk/pst_folders.h"
#include "desk/pst_rows.h"
#include "mapi/constants.h"
#include "mapi/tags.h"

namespace parvane::desk {
namespace {

using mapi::ComPointer;
using Path = std::vector<std::u16string>;

class MailWalker : public PstFolderVisitor {
 public:
  MailWalker(PstMailVisitor& visitor, const PstSession& session, std::uint32_t& place)
      : _visitor(visitor), _session(session), _place(place) {}

  bool goesOn() const { return _goesOn; }

  bool Visit(const Path& path, mapi::IMAPIFolder& folder) override {
    ComPointer<mapi::IMAPITable> table;
    folder.GetContentsTable(mapi::MAPI_UNICODE, table.Put());
    mapi::ULONG count = 0;
    if (table) table->GetRowCount(0, &count);
    _goesOn = _visitor.BeginFolder(path, count);
    if (!_goesOn) return false;
    mapi::SizedSPropTagArray<1> columns = {1, {mapi::PR_ENTRYID}};
    const auto lost = [&](std::uint64_t first, std::uint64_t last) {
      Unreadable(UnreadableText(path, fmt::format("the list of messages, {} to {},", first, last)));
    };
    // What the visitor does cannot end the walk through the rows; they are passed over then.
    const auto visit = [&](const mapi::SRow& row, std::uint64_t number) {
      const std::uint32_t place = _place++;
      if (_goesOn && _visitor.Wants(place))
        _goesOn = Open(path, number, place, FindProperty(row, mapi::PR_ENTRYID));
    };
    if (!table || !ForEachRow(*table, columns.get(), {visit, lost}))
      Unreadable(UnreadableText(path, "the list of messages"));
    return _goesOn;
  }

  void Unreadable(const std::string& what) override { _visitor.Unreadable(what); }

 private:
  bool Open(const Path& path, std::uint64_t number, std::uint32_t place,
            const mapi::SPropValue* entry) {
    std::string id = BytesOf(entry);
    mapi::ULONG type = 0;
    ComPointer<mapi::IMessage> message;
    _session.store().OpenEntry(static_cast<mapi::ULONG>(id.size()), EntryIdOf(id), nullptr, 0,
                               &type, message.PutUnknown());
    if (message) return _visitor.Message(place, *message);
    Unreadable(UnreadableText(path, fmt::format("message {}", number)));
    return true;
  }

  PstMailVisitor& _visitor;
  const PstSession& _session;
  std::uint32_t& _place;
  bool _goesOn = true;
};

}  // namespace

platform::Status VisitMail(const std::vector<std::u16string>& psts, PstMailVisitor& visitor) {
  std::uint32_t place = 0;
  for (const std::u16string& pst : psts) {
    auto session = PstSession::Open(pst);
    if (!session.ok()) return session.status();
    MailWalker walker(visitor, *session, place);
    if (platform::Status walked = WalkFolders(*session, walker); !walked.ok()) return walked;
    if (!walker.goesOn()) return {};
  }
  return {};
}

}  // namespace parvane::desk
