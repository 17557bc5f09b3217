#include "cli/list_command.h"

#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "cli/console.h"
#include "cli/results.h"
#include "desk/destination.h"
#include "desk/format.h"
#include "desk/json_writer.h"
#include "desk/mapi_run.h"
#include "desk/pst_listing.h"
#include "mapi/options.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/text.h"

namespace parvane::cli {
namespace {

using desk::CheckIsHandled;
using desk::Columns;
using desk::Counted;
using desk::ExitCode;
using desk::FitColumns;
using desk::IsoTime;
using desk::JsonWriter;
using desk::ListedFolder;
using desk::ListedMessage;
using desk::ListingSink;
using desk::MapiChoice;
using desk::MapiRun;
using desk::OutlookTurn;
using desk::PstSession;
using desk::ShortTime;
using desk::Size;
using desk::WalkPst;
using desk::WithThousands;
using platform::Utf16ToUtf8;

class Listing : public ListingSink {
 public:
  Listing(bool messages, Results& results) : _wantsMessages(messages), _results(results) {}

  bool WantsMessages() const override { return _wantsMessages; }
  // A look at the clock for each message would be felt in folders of a million.
  void Progress(const ListedFolder& folder, std::uint64_t messages) override {
    if (messages % kMessagesAtATime != 0) return;
    _results.Progress({Utf16ToUtf8(folder.path.back()), 0, 0, messages});
  }
  void Unreadable(const std::string& what) override { _results.Complain(what); }

 protected:
  void Write(std::string_view text) { _results.Write(text); }

 private:
  static constexpr std::uint64_t kMessagesAtATime = 64;

  bool _wantsMessages;
  Results& _results;
};

std::string_view NameOf(ListedMessage::Flag flag) {
  return flag == ListedMessage::Flag::kFlagged     ? "flagged"
         : flag == ListedMessage::Flag::kCompleted ? "completed"
                                                   : "none";
}

std::string_view NameOf(ListedMessage::Importance importance) {
  return importance == ListedMessage::Importance::kHigh  ? "high"
         : importance == ListedMessage::Importance::kLow ? "low"
                                                         : "normal";
}

// Written while the walk goes on: nobody has to wait for the last of two million messages to see
// the first, and a folder costs no more memory than a message of it.
class TextListing : public Listing {
 public:
  using Listing::Listing;

  void BeginFolder(const ListedFolder& folder) override {
    _indent.assign(2 * (folder.path.size() - 1), ' ');
    std::string counts = Counted(folder.messages, "message");
    if (folder.unread > 0) counts += fmt::format(", {} unread", WithThousands(folder.unread));
    if (folder.messages > 0) counts += ", " + Size(folder.size);
    Write(fmt::format("{}{}  {}\n", _indent, Column(folder.path.back(), 36 - Width(_indent)),
                      counts));
  }

  // A star marks what is unread.
  void Message(const ListedMessage& message) override {
    std::string line =
        fmt::format("{}  {} {:<16}  {}  {}", _indent, message.unread ? '*' : ' ',
                    ShortTime(message.time), Column(message.from, 24), Shown(message.subject));
    if (!message.attachments.empty())
      line += "  [" + Counted(message.attachments.size(), "attachment") + "]";
    if (const std::string marks = Marks(message); !marks.empty()) line += "  [" + marks + "]";
    Write(line + "\n");
  }

  void EndFolder() override {}

 private:
  static std::string Marks(const ListedMessage& message) {
    std::string marks;
    const auto add = [&marks](bool has, std::string_view mark) {
      if (has) marks.append(marks.empty() ? "" : ", ").append(mark);
    };
    add(message.draft, "draft");
    add(message.flag == ListedMessage::Flag::kFlagged, "flagged");
    add(message.flag == ListedMessage::Flag::kCompleted, "completed");
    add(message.replied, "answered");
    add(message.forwarded, "forwarded");
    add(message.importance == ListedMessage::Importance::kHigh, "high importance");
    add(message.importance == ListedMessage::Importance::kLow, "low importance");
    for (const std::u16string& name : message.categories) add(true, "#" + Shown(name));
    return marks;
  }
  // Deep folders are not pushed out of the terminal.
  static unsigned Width(const std::string& indent) {
    return std::min<unsigned>(static_cast<unsigned>(indent.size()), 24);
  }
  // Subjects may hold line ends and what turns a terminal's text, and have any length.
  static std::string Shown(const std::u16string& text) {
    return FitColumns(Utf16ToUtf8(text), 200);
  }
  static std::string Column(const std::u16string& text, unsigned columns) {
    std::string shown = FitColumns(Utf16ToUtf8(text), columns);
    shown.append(columns - Columns(shown), ' ');
    return shown;
  }

  std::string _indent;
};

// {"file": ..., "folders": [{"path": [...], "messages": n, ..., "items": [...]}], "unreadable":
// ...}
class JsonListing : public Listing {
 public:
  JsonListing(std::u16string_view file, bool messages, Results& results)
      : Listing(messages, results) {
    _json.BeginObject();
    _json.Key("format").String("parvane listing");
    _json.Key("version").Number(1);
    _json.Key("file").String(platform::PathForDisplay(file));
    _json.Key("folders").BeginArray();
  }

  void Unreadable(const std::string& what) override {
    Listing::Unreadable(what);
    if (_unreadable.size() < kMostUnreadable) _unreadable.push_back(what);
  }

  void BeginFolder(const ListedFolder& folder) override {
    _folders += 1;
    _messages += folder.messages;
    _json.BeginObject();
    _json.Key("path").BeginArray();
    for (const std::u16string& name : folder.path) _json.String(name);
    _json.EndArray();
    _json.Key("messages").Number(folder.messages);
    _json.Key("unread").Number(folder.unread);
    _json.Key("bytes").Number(folder.size);
    if (WantsMessages()) _json.Key("items").BeginArray();
  }

  void Message(const ListedMessage& message) override {
    _json.BeginObject();
    _json.Key("date");
    if (const std::string date = IsoTime(message.time); date.empty()) {
      _json.Null();
    } else {
      _json.String(date);
    }
    _json.Key("from").String(message.from);
    _json.Key("subject").String(message.subject);
    _json.Key("bytes").Number(message.size);
    _json.Key("unread").Bool(message.unread);
    _json.Key("draft").Bool(message.draft);
    _json.Key("flag").String(NameOf(message.flag));
    _json.Key("replied").Bool(message.replied);
    _json.Key("forwarded").Bool(message.forwarded);
    _json.Key("importance").String(NameOf(message.importance));
    _json.Key("categories").BeginArray();
    for (const std::u16string& name : message.categories) _json.String(name);
    _json.EndArray();
    _json.Key("attachments").BeginArray();
    for (const std::u16string& name : message.attachments) _json.String(name);
    _json.EndArray();
    _json.EndObject();
    Write(_json.Take());
  }

  void EndFolder() override {
    if (WantsMessages()) _json.EndArray();
    _json.EndObject();
    Write(_json.Take());
  }

  void Finish() {
    _json.EndArray();
    _json.Key("unreadable").BeginArray();
    for (const std::string& what : _unreadable) _json.String(what);
    _json.EndArray();
    _json.Key("totals").BeginObject();
    _json.Key("folders").Number(_folders);
    _json.Key("messages").Number(_messages);
    _json.EndObject();
    _json.EndObject();
    Write(_json.Take());
  }

 private:
  // All are complained of as they come; these are kept to the end, where JSON has its place for
  // them.
  static constexpr std::size_t kMostUnreadable = 1'000;

  JsonWriter _json;
  std::vector<std::string> _unreadable;
  std::uint64_t _folders = 0;
  std::uint64_t _messages = 0;
};

ExitCode Fail(const platform::Status& status) {
  WriteError(status.message());
  return ExitCode::kCouldNotFinish;
}

platform::Status List(const ListOptions& options, Results& results) {
  // Outlook knows a PST by the path that its profile has, so that a link to it would be another.
  auto session = PstSession::Open(
      options.mapi == MapiChoice::kOutlook ? platform::CanonicalPath(options.file) : options.file);
  if (!session.ok()) return session.status();
  if (!options.json) {
    TextListing listing(options.messages, results);
    return WalkPst(*session, listing);
  }
  JsonListing listing(options.file, options.messages, results);
  platform::Status status = WalkPst(*session, listing);
  // Whatever stopped the walk: half a document is one that no program can read.
  listing.Finish();
  return status;
}

}  // namespace

ExitCode RunList(const ListOptions& options) {
  if (platform::Status handled = CheckIsHandled(options.file, options.mapi); !handled.ok())
    return Fail(handled);
  // Before MAPI starts: a store that could be written would be locked against others, and changed
  // by the mere opening of it.
  mapi::BuiltinOptions builtin = mapi::CurrentBuiltinOptions();
  builtin.readOnly = true;
  mapi::SetBuiltinOptions(builtin);
  std::optional<OutlookTurn> turn;
  if (options.mapi == MapiChoice::kOutlook) {
    auto taken = OutlookTurn::Take();
    if (!taken.ok()) return Fail(taken.status());
    turn.emplace(std::move(taken).value());
  }
  const MapiRun mapiRun(options.mapi);
  if (!mapiRun.status().ok()) return Fail(mapiRun.status());
  Results results(StyleForResults(options.progress));
  // The session ends in List, before MAPI does.
  const platform::Status listed = List(options, results);
  if (!results.Finish()) return ExitCode::kCouldNotFinish;
  if (!listed.ok()) return Fail(listed);
  return results.complaints() == 0 ? ExitCode::kDone : ExitCode::kMailLeftBehind;
}

}  // namespace parvane::cli
