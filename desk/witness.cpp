#include "desk/witness.h"

#include <utility>

#include <fmt/format.h>

#include "desk/format.h"
#include "desk/property_names.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using platform::PathForDisplay;
using QuelmarMIMEEngineCommon::IAssetFolder;

// The engine's line before the details of an item that failed.
constexpr std::u16string_view kItemError = u"\r\nERROR : ";

std::string OneLine(std::u16string_view text, std::string_view separator = "; ") {
  std::string line = platform::Utf16ToUtf8(text);
  std::string out;
  for (char c : line) {
    if (c == '\n') {
      out += separator;
    } else if (c != '\r') {
      out += c;
    }
  }
  while (out.ends_with(separator)) out.resize(out.size() - separator.size());
  return out;
}

// From the PST's top folder, which has no part in it.
std::vector<std::u16string> PathOf(const IAssetFolder& folder) {
  std::vector<std::u16string> path;
  for (const IAssetFolder* at = &folder; at->ParentFolder(); at = at->ParentFolder())
    path.insert(path.begin(), at->FolderName().value_or(u""));
  return path;
}

}  // namespace

void Witness::Watch(PstAccount& pst) {
  _pst = &pst;
  _engineMessage.clear();
}

void Witness::BeginCopying() {
  BeginReading();
  _saved = _pst->Saved();
  _committed = _pst->Committed();
  _failures = _pst->Failures();
  if (_pst->HasPassword()) {
    _logs.Both(PathForDisplay(_pst->Path()) +
               ": carries a password. It protects nothing: Outlook asks for it, but the mail lies "
               "open, and is added to without it");
  }
}

void Witness::EndFolder(const std::string& problem) {
  if (!_itemOpen) return;
  // An item was begun and the engine never came back to say what became of it.
  if (!_itemProblem) {
    _itemProblem = FailureKind::kBrokeOff;
    _itemProblemDetail = problem;
  }
  FinishItem();
}

std::string Witness::Reason(std::string otherwise) const {
  std::string reason = _pst->Reason();
  return reason.empty() ? otherwise : reason;
}

std::string Witness::EngineMessage() const { return OneLine(_engineMessage, " "); }

bool Witness::Cancel() {
  FinishItem();
  return SourceWitness::Cancel() || DestinationFailed();
}

void Witness::FinishItem() {
  if (!_itemOpen) return;
  _itemOpen = false;
  const std::uint64_t savedBefore = std::exchange(_saved, _pst->Saved());
  const bool saved = _saved > savedBefore;
  if (!saved) {
    const bool begun = _itemProblem != FailureKind::kBrokeOff;
    _itemProblem = begun && PartIsFull() ? FailureKind::kLargerThanPart : FailureKind::kNotSaved;
    _itemProblemDetail = _pst->Failures() != _failures ? _pst->LastFailure() : "";
  } else if (!_pst->Failed()) {
    AddRefusals(_pst->Failures() != _failures ? _pst->LastFailure() : "");
  }
  const bool failed = _itemProblem.has_value();
  if (failed)
    AddFailure(_item, *_itemProblem, std::move(_itemProblemDetail), OneLine(_itemDetails));
  if (saved)
    _uncommitted.push_back({std::move(_item), failed, _years.Of(_itemDelivered), _carried});
  CountCommitted();
}

void Witness::CountCommitted() {
  const std::uint64_t committed = _pst->Committed();
  if (_committed >= committed) return;
  for (; _committed < committed && !_uncommitted.empty(); ++_committed) {
    const Item& item = _uncommitted.front();
    if (!item.failed) {
      FolderAccount& folder = _record.folders[item.folder];
      ++folder.written;
      if (item.year != moves::kNoYear) ++folder.years[item.year];
      CountCarried(item.carried);
    }
    _uncommitted.pop_front();
  }
  if (!_pst->TellsCommits()) return;
  // Whatever becomes of this program: what the log says is safe is in the PST.
  _logs.Detailed(fmt::format("COMMITTED: {} in the PST", Counted(_record.Written(), "message")));
  (void)_logs.Flush().ok();  // a failure is kept and told at the end
}

bool Witness::Settle() {
  CountCommitted();
  _record.pstSize = _pst->FileSize();
  const std::string reason = _pst->WriteFailure();
  if (_pst->MapsRebuilt()) {
    _logs.Detailed(PathForDisplay(_pst->Path()) +
                   ": its last writer had not closed it; its allocation maps were made anew");
  }
  for (const Item& item : _uncommitted) {
    if (!item.failed) AddFailure(item, FailureKind::kNotCommitted, reason, {});
  }
  _uncommitted.clear();
  const bool agree = _pst->Committed() == _committed;
  // The one in hand waits for the next PST.
  const std::uint64_t read = _record.Read() - (_itemOpen ? 1 : 0);
  if (read == _record.Written() + _record.Failed() && agree) return true;
  _record.Fail(RunProblem::kCountsDisagree,
               "the PST's count of messages does not agree with the messages handed over");
  return false;
}

void Witness::WriteLog(std::u16string_view logString, bool briefLog, bool detailLog) {
  SourceWitness::WriteLog(logString, briefLog, detailLog);
  if (!_itemOpen) {
    _engineMessage = logString;
    return;
  }
  if (logString.starts_with(kItemError)) {
    if (!_itemProblem) _itemProblem = FailureKind::kNotConverted;
  } else {
    _itemDetails = logString;
  }
}

void Witness::MessageRead(const engine::MessageLocation& message) {
  if (!_reading) return;
  SourceWitness::MessageRead(message);
  _failures = _pst ? _pst->Failures() : 0;  // none: the mail is only looked through
  _itemDetails.clear();
}

void Witness::MapiAnswered(engine::DestinationStep step, std::int32_t result) {
  if (_pst) _pst->MapiAnswered(step, result);
}

void Witness::StoreOpened(mapi::IMsgStore& store) {
  if (_pst) _pst->StoreOpened(store);
}

void Witness::FolderRefused(const IAssetFolder& folder,
                            const std::vector<mapi::Refusal>& refusals) {
  for (const mapi::Refusal& refusal : refusals) {
    FolderRefusal refused{PathOf(folder), PropertyName(refusal.tag), ResultText(refusal.result)};
    _logs.Both("MADE WITHOUT: " + Describe(_record, refused));
    _record.folderRefusals.Add(std::move(refused));
  }
}

void Witness::FolderContinued(const IAssetFolder&, const IAssetFolder& next) {
  FolderAccount account;
  account.path = _record.folders[_folder].path;
  account.sourcePath = _record.folders[_folder].sourcePath;
  account.path.back() = next.FolderName().value_or(u"");
  // Where folders take turns, a full one is left for the same one every time.
  const auto known = std::ranges::find_if(_record.folders, [&](const FolderAccount& one) {
    return one.path == account.path && one.sourcePath == account.sourcePath;
  });
  const auto place = static_cast<std::size_t>(known - _record.folders.begin());
  if (known == _record.folders.end()) {
    _record.continued.push_back({_record.folders[_folder].path, account.path});
    _record.folders.push_back(std::move(account));
  }
  // The item in hand is the first that goes there.
  GoOnIn(place);
}

}  // namespace parvane::desk
