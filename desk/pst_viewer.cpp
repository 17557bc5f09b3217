#include "desk/pst_viewer.h"

#include <algorithm>
#include <charconv>
#include <map>

#include <fmt/format.h>

#include "desk/mapi_run.h"
#include "desk/message_text.h"
#include "desk/pst_folders.h"
#include "desk/pst_rows.h"
#include "desk/pst_session.h"
#include "mapi/constants.h"
#include "mapi/diagnostics.h"
#include "mapi/identifiers.h"
#include "mapi/options.h"
#include "mapi/tags.h"
#include "moves/property_reading.h"
#include "platform/file.h"
#include "platform/path.h"

namespace parvane::desk {
namespace {

using mapi::ComPointer;
using mapi::ULONG;
using platform::Result;
using platform::Status;
using platform::StatusCode;
using Path = std::vector<std::u16string>;

// Their sizes are added up, a row at a time; a folder of more has to do without.
constexpr std::uint64_t kMostRowsMeasured = 20'000;
constexpr std::uint64_t kMostRowsMeasuredInAll = 200'000;
// As deep as messages are written into each other.
constexpr std::size_t kMostLevels = 128;

std::string TextOfBytes(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) text += fmt::format("{:02x}", static_cast<unsigned char>(c));
  return text;
}

// Empty: it is none.
std::string BytesOfText(std::string_view text) {
  std::string bytes;
  if (text.size() % 2 != 0) return {};
  for (std::size_t i = 0; i < text.size(); i += 2) {
    unsigned value = 0;
    const char* end = text.data() + i + 2;
    if (std::from_chars(text.data() + i, end, value, 16).ptr != end) return {};
    bytes += static_cast<char>(value);
  }
  return bytes;
}

// "ID-3-0": the entry id, and the numbers of the attachments on the way.
struct MessageName {
  std::string entryId;
  std::vector<ULONG> attachments;
};

std::optional<MessageName> ParseName(std::string_view text) {
  MessageName name;
  name.entryId = BytesOfText(text.substr(0, text.find('-')));
  if (name.entryId.empty()) return std::nullopt;
  for (std::size_t at = text.find('-'); at != text.npos; at = text.find('-', at + 1)) {
    const std::string_view number = text.substr(at + 1, text.find('-', at + 1) - at - 1);
    ULONG value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error != std::errc() || end != number.data() + number.size() ||
        name.attachments.size() == kMostLevels) {
      return std::nullopt;
    }
    name.attachments.push_back(value);
  }
  return name;
}

// Before MAPI starts: a store that could be written would be locked against others.
class OnlyReading {
 public:
  OnlyReading() : _before(mapi::CurrentBuiltinOptions()) {
    mapi::BuiltinOptions reading = _before;
    reading.readOnly = true;
    mapi::SetBuiltinOptions(reading);
  }
  ~OnlyReading() { mapi::SetBuiltinOptions(_before); }
  OnlyReading(const OnlyReading&) = delete;
  OnlyReading& operator=(const OnlyReading&) = delete;

 private:
  mapi::BuiltinOptions _before;
};

// The folders with their counts.
class FolderTree : public PstFolderVisitor {
 public:
  FolderTree(std::vector<ViewedFolder>& folders, std::vector<std::string>& unreadable)
      : _folders(folders), _unreadable(unreadable) {}

  bool Visit(const Path& path, mapi::IMAPIFolder& folder) override {
    mapi::SizedSPropTagArray<2> tags = {2, {mapi::PR_ENTRYID, mapi::PR_CONTENT_UNREAD}};
    ULONG count = 0;
    mapi::MapiBuffer<mapi::SPropValue> buffer;
    folder.GetProps(tags.get(), mapi::MAPI_UNICODE, &count, buffer.Put());
    const mapi::SRow row{0, buffer ? count : 0, buffer.get()};
    ViewedFolder viewed;
    viewed.id = TextOfBytes(BytesOf(FindProperty(row, mapi::PR_ENTRYID)));
    _above.resize(std::min(_above.size(), path.size() - 1));
    if (!_above.empty()) viewed.parent = _above.back();
    _above.resize(path.size(), viewed.id);
    viewed.name = path.back();
    if (const mapi::SPropValue* unread = FindProperty(row, mapi::PR_CONTENT_UNREAD))
      viewed.unread = unread->Value.ul;
    CountMessages(path, folder, viewed);
    _folders.push_back(std::move(viewed));
    return true;
  }
  void Unreadable(const std::string& what) override { _unreadable.push_back(what); }

 private:
  void CountMessages(const Path& path, mapi::IMAPIFolder& folder, ViewedFolder& viewed) {
    ComPointer<mapi::IMAPITable> table;
    folder.GetContentsTable(mapi::MAPI_UNICODE, table.Put());
    ULONG rows = 0;
    if (!table || mapi::Failed(table->GetRowCount(0, &rows)))
      return Unreadable(UnreadableText(path, "the list of messages"));
    viewed.messages = rows;
    if (rows > kMostRowsMeasured || _measured + rows > kMostRowsMeasuredInAll) return;
    _measured += rows;
    std::uint64_t bytes = 0;
    mapi::SizedSPropTagArray<1> columns = {1, {mapi::PR_MESSAGE_SIZE}};
    const auto add = [&](const mapi::SRow& row, std::uint64_t) {
      if (const mapi::SPropValue* size = FindProperty(row, mapi::PR_MESSAGE_SIZE))
        bytes += size->Value.ul;
    };
    const auto lost = [](std::uint64_t, std::uint64_t) {};
    if (ForEachRow(*table, columns.get(), {add, lost})) viewed.bytes = bytes;
  }

  std::vector<ViewedFolder>& _folders;
  std::vector<std::string>& _unreadable;
  std::vector<std::string> _above;  // the ids on the way to the folder in hand
  std::uint64_t _measured = 0;
};

}  // namespace

class PstViewer::Inside {
 public:
  Status Open(std::u16string_view path) {
    _path = path;
    if (!platform::FileSystem::Default().FileExists(path))
      return {StatusCode::kNotFound, platform::PathForDisplay(path) + ": there is no such file"};
    if (!_mapi.status().ok()) return _mapi.status();
    mapi::ResetDiagnostics();
    auto session = PstSession::Open(path);
    if (!session.ok()) return session.status();
    _session.emplace(std::move(session).value());
    _keywords = KeywordsTag(_session->store());
    FolderTree tree(folders, unreadable);
    return WalkFolders(*_session, tree);
  }

  Result<ViewedPage> Messages(std::string_view folder, std::uint64_t from, std::size_t count) {
    mapi::ResetDiagnostics();
    if (Status opened = OpenTable(folder); !opened.ok()) return opened;
    ULONG rows = 0;
    if (mapi::Failed(_table->GetRowCount(0, &rows))) return Unreadable("the list of messages");
    ViewedPage page;
    page.total = rows;
    const std::uint64_t end = std::min<std::uint64_t>(rows, from + std::min(count, kMostRows));
    if (from >= end) return page;
    page.rows.resize(end - from);
    // One that cannot be read spoils those that are asked for together with it.
    if (!Read(page.rows, from)) {
      for (std::size_t i = 0; i < page.rows.size(); ++i)
        (void)Read(std::span(page.rows).subspan(i, 1), from + i);
    }
    for (ViewedRow& row : page.rows) row.row = from++;
    return page;
  }

  // Holds what leads to the message in hand, which is the last.
  struct Opened {
    std::vector<ComPointer<mapi::IMessage>> messages;
    std::vector<ComPointer<mapi::IAttach>> attachments;
    mapi::IMessage& operator*() const { return *messages.back(); }
  };

  Result<Opened> OpenMessage(std::string_view id) {
    mapi::ResetDiagnostics();
    auto name = ParseName(id);
    if (!name) return Status(StatusCode::kInvalidArgument, "there is no such message");
    Opened opened;
    ULONG type = 0;
    _session->store().OpenEntry(static_cast<ULONG>(name->entryId.size()), EntryIdOf(name->entryId),
                                nullptr, 0, &type, opened.messages.emplace_back().PutUnknown());
    if (!opened.messages.back() || type != mapi::MAPI_MESSAGE) return Unreadable("the message");
    for (const ULONG number : name->attachments) {
      auto attachment = OpenAttachment(*opened, number);
      if (!attachment) return Unreadable("the attached message");
      ComPointer<mapi::IMessage> message;
      attachment->OpenProperty(mapi::PR_ATTACH_DATA_OBJ, &mapi::IID_IMessage, 0, 0,
                               message.PutUnknown());
      if (!message) return Unreadable("the attached message");
      opened.attachments.push_back(std::move(attachment));
      opened.messages.push_back(std::move(message));
    }
    return opened;
  }

  static ComPointer<mapi::IAttach> OpenAttachment(mapi::IMessage& message, ULONG number) {
    ComPointer<mapi::IAttach> attachment;
    message.OpenAttach(number, nullptr, 0, attachment.Put());
    return attachment;
  }

  Status Unreadable(std::string_view what) const {
    return MapiFailure(_path, fmt::format("{} cannot be read", what));
  }

  ULONG keywords() const { return _keywords; }

  std::vector<ViewedFolder> folders;
  std::vector<std::string> unreadable;

 private:
  // That of one folder stays open: people leaf in it.
  Status OpenTable(std::string_view folder) {
    if (_table && _tableOf == folder) return {};
    _table.Reset();
    const bool known = std::ranges::any_of(
        folders, [&](const ViewedFolder& one) { return one.id == folder && !one.id.empty(); });
    if (!known) return {StatusCode::kInvalidArgument, "there is no such folder"};
    const auto opened = _session->OpenFolder(BytesOfText(folder));
    if (opened) opened->GetContentsTable(mapi::MAPI_UNICODE, _table.Put());
    if (!_table || !SetColumns()) {
      _table.Reset();
      return Unreadable("the list of messages");
    }
    _tableOf = folder;
    return {};
  }

  bool SetColumns() {
    constexpr ULONG kOwn = 8;
    mapi::SizedSPropTagArray<kOwn + kMarkTags> columns = {
        kOwn,
        {mapi::PR_ENTRYID, mapi::PR_MESSAGE_SIZE, mapi::PR_CLIENT_SUBMIT_TIME,
         mapi::PR_MESSAGE_DELIVERY_TIME, mapi::PR_SENT_REPRESENTING_NAME_W, mapi::PR_SENDER_NAME_W,
         mapi::PR_SUBJECT_W, mapi::PR_DISPLAY_TO_W}};
    AddMarkTags(columns.get(), _keywords);
    return !mapi::Failed(_table->SetColumns(columns.get(), 0));
  }

  bool Read(std::span<ViewedRow> rows, std::uint64_t from) {
    mapi::LONG sought = 0;
    mapi::RowSet set;
    if (mapi::Failed(
            _table->SeekRow(mapi::BOOKMARK_BEGINNING, static_cast<mapi::LONG>(from), &sought)) ||
        mapi::Failed(_table->QueryRows(static_cast<mapi::LONG>(rows.size()), 0, set.Put()))) {
      return false;
    }
    for (ULONG i = 0; i < std::min<std::size_t>(set.size(), rows.size()); ++i)
      rows[i] = Describe(set[i]);
    return true;
  }

  ViewedRow Describe(const mapi::SRow& row) const {
    const moves::Values values(row.lpProps, row.cValues);
    ViewedRow viewed;
    viewed.id = TextOfBytes(BytesOf(values.Find(mapi::PR_ENTRYID)));
    viewed.from = values.Text(mapi::PR_SENT_REPRESENTING_NAME_W);
    if (viewed.from.empty()) viewed.from = values.Text(mapi::PR_SENDER_NAME_W);
    viewed.to = values.Text(mapi::PR_DISPLAY_TO_W);
    viewed.subject = values.Text(mapi::PR_SUBJECT_W);
    const mapi::SPropValue* time = values.Find(mapi::PR_CLIENT_SUBMIT_TIME);
    if (!time) time = values.Find(mapi::PR_MESSAGE_DELIVERY_TIME);
    if (time) viewed.time = time->Value.ft;
    viewed.bytes = values.Number(mapi::PR_MESSAGE_SIZE);
    viewed.attachments = (values.Number(mapi::PR_MESSAGE_FLAGS) & mapi::MSGFLAG_HASATTACH) != 0;
    viewed.marks = MarksOf(row, _keywords);
    return viewed;
  }

  OnlyReading _onlyReading;
  MapiRun _mapi{MapiChoice::kBuiltin};
  std::u16string _path;
  std::optional<PstSession> _session;
  ULONG _keywords = 0;
  std::string _tableOf;
  ComPointer<mapi::IMAPITable> _table;
};

PstViewer::PstViewer(std::unique_ptr<Inside> inside) : _inside(std::move(inside)) {}
PstViewer::~PstViewer() = default;

Result<std::unique_ptr<PstViewer>> PstViewer::Open(std::u16string_view path) {
  auto inside = std::make_unique<Inside>();
  if (Status opened = inside->Open(path); !opened.ok()) return opened;
  return std::unique_ptr<PstViewer>(new PstViewer(std::move(inside)));
}

const std::vector<ViewedFolder>& PstViewer::folders() const { return _inside->folders; }
const std::vector<std::string>& PstViewer::unreadable() const { return _inside->unreadable; }

Result<ViewedPage> PstViewer::Messages(std::string_view folder, std::uint64_t from,
                                       std::size_t count) {
  return _inside->Messages(folder, from, count);
}

Result<ViewedMessage> PstViewer::Message(std::string_view id) {
  auto message = _inside->OpenMessage(id);
  if (!message.ok()) return message.status();
  return ViewMessage(**message, _inside->keywords());
}

Result<std::string> PstViewer::Document(
    std::string_view id, const std::function<std::string(std::uint32_t)>& urlOfAttachment) {
  auto message = _inside->OpenMessage(id);
  if (!message.ok()) return message.status();
  return TextPage(**message, urlOfAttachment);
}

Status PstViewer::ReadAttachment(std::string_view id, std::uint32_t number,
                                 const std::function<bool(const ViewedAttachment&)>& begin,
                                 const std::function<bool(std::string_view)>& take) {
  auto message = _inside->OpenMessage(id);
  if (!message.ok()) return message.status();
  bool complete = true;
  const auto attachments = ViewAttachments(**message, complete);
  const auto found = std::ranges::find(attachments, number, &ViewedAttachment::number);
  if (found == attachments.end() || found->isMessage || found->elsewhere)
    return {StatusCode::kInvalidArgument, "there is no such file in this message"};
  const auto attachment = _inside->OpenAttachment(**message, number);
  if (!attachment) return _inside->Unreadable("the attachment");
  if (!begin(*found)) return {};
  return moves::ReadProperty(*attachment, mapi::PR_ATTACH_DATA_BIN, take)
             ? Status()
             : _inside->Unreadable("the attachment");
}

}  // namespace parvane::desk
