#include "desk/scan_witness.h"

#include <utility>
#include <vector>

#include "platform/time.h"

namespace parvane::desk {

using QuelmarMIMEEngineCommon::IAsset;

void ScanWitness::Take(IAsset& item) {
  if (!_itemOpen) return;
  if (!_itemProblem) {
    _forecast.OfMail(item);
    if (const engine::IForetold* foretold = _foretoldOf(item)) {
      engine::ConversionNotes notes = foretold->Foretell();
      std::erase_if(notes.remarks, [](const auto& remark) { return !IsForetold(remark.kind); });
      MessageConverted({}, true, notes);
    }
    _forecast.OfState(item);
  }
  _record.forecast->Add(_forecast.MakeupOf(item));
  TakeDate(item);
}

void ScanWitness::TakeDate(IAsset& item) {
  engine::IMessageFacts* facts = _factsOf(item);
  const platform::FileTime delivered = facts ? facts->Delivered() : platform::FileTime{};
  FolderAccount& folder = _record.folders[_item.folder];
  folder.dates.Add(delivered);
  const unsigned year = _years.Of(delivered);
  if (!_itemProblem && year != moves::kNoYear) ++folder.years[year];
}

void ScanWitness::EndFolder(const std::string& problem) {
  // An item was begun and its source never handed it on.
  if (_itemOpen && !problem.empty() && !_itemProblem) {
    _itemProblem = FailureKind::kBrokeOff;
    _itemProblemDetail = problem;
  }
  FinishItem();
}

bool ScanWitness::Cancel() {
  FinishItem();
  return SourceWitness::Cancel();
}

void ScanWitness::FinishItem() {
  if (!_itemOpen) return;
  _itemOpen = false;
  if (_itemProblem) {
    AddFailure(_item, *_itemProblem, std::move(_itemProblemDetail), {});
  } else {
    CountCarried(_carried);
  }
}

}  // namespace parvane::desk
