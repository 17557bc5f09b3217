#include "desk/selection.h"

#include <fmt/format.h>

#include "desk/format.h"
#include "engine/mapi_folder.h"

namespace parvane::desk {

using moves::Judgement;
using moves::Verdict;
using platform::Status;
using QuelmarMIMEEngineCommon::IAssetFolderMutable;

namespace {

// Of all folders together.
constexpr std::size_t kEverywhere = 0;

}  // namespace

Status Selection::BeginFolder(std::size_t account, const std::vector<std::u16string>& path,
                              const IAssetFolderMutable* target) {
  if (_options.dedup != Dedup::kOff) {
    const bool everywhere = _options.dedup == Dedup::kAll;
    _duplicatesHere = &_duplicates[everywhere ? kEverywhere : account];
    _duplicatesHere->SetPlace(account);
  }
  if (!LooksForMailThere()) return {};
  const auto [there, begins] = _there.try_emplace(account, _options.mapi == MapiChoice::kOutlook
                                                               ? moves::KnownBy::kKeyOrMessageId
                                                               : moves::KnownBy::kKey);
  _thereHere = &there->second;
  if (!begins) return {};
  if (_parts) {
    if (Status added = _parts->AddTo(*_thereHere, path); !added.ok()) return added;
  }
  const auto* holder = dynamic_cast<const engine::IMapiFolderHolder*>(target);
  if (!holder || !holder->MapiFolder()) return {};
  return _thereHere->Add(*holder->MapiFolder());
}

void Selection::EndFolder(std::size_t account) {
  if (_options.dedup == Dedup::kFolder) _duplicates.erase(account);
  _there.erase(account);
}

// What is committed is the beginning of what is read: while some of it has not been met, nothing
// can be missing, no folder either.
bool Selection::MayMake(const std::vector<std::u16string>& path) {
  if (_toMeet == 0 || _resumed->Contains(path)) return true;
  NoteOtherSources();
  return false;
}

void Selection::NoteOtherSources() {
  _problem = {
      platform::StatusCode::kInvalidArgument,
      fmt::format("what an unfinished run has left is no beginning of what these sources hold: "
                  "{} of its messages "
                  "do not stand before the first that is missing. It is of other sources, "
                  "or these have changed. Nothing has been added to it. To add what is "
                  "missing, give it another name and use --append --skip-existing",
                  WithThousands(_toMeet))};
}

// What nobody wants is no copy of anything. Then copies: what has a copy before it is not looked
// for in the destination, where it never went.
Judgement Selection::Judge(QuelmarMIMEEngineCommon::IAsset& item) {
  if (const Judgement judgement = _choice.Judge(item); judgement.verdict != Verdict::kTake)
    return judgement;
  if (_years) {
    if (const Judgement judgement = _years->Judge(item); judgement.verdict != Verdict::kTake)
      return judgement;
  }
  if (_duplicatesHere) {
    if (const Judgement judgement = _duplicatesHere->Judge(item);
        judgement.verdict != Verdict::kTake)
      return judgement;
  }
  if (!_thereHere) return {};
  const Judgement judgement = _thereHere->Judge(item);
  if (judgement.verdict == Verdict::kAlreadyThere) {
    if (_toMeet > 0) --_toMeet;
  } else if (_toMeet > 0) {
    NoteOtherSources();
    return {Verdict::kStop};
  }
  return judgement;
}

}  // namespace parvane::desk
