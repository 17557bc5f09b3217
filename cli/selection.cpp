#include "cli/selection.h"

#include "engine/mapi_folder.h"

namespace parvane::cli {

using moves::Judgement;
using moves::Verdict;
using platform::Status;
using QuelmarMIMEEngineCommon::IAssetFolderMutable;

namespace {

// Of all folders together.
constexpr std::size_t kEverywhere = 0;

}  // namespace

Status Selection::BeginFolder(std::size_t account, IAssetFolderMutable& target) {
  if (_options.dedup != Dedup::kOff) {
    const bool everywhere = _options.dedup == Dedup::kAll;
    _duplicatesHere = &_duplicates[everywhere ? kEverywhere : account];
    _duplicatesHere->SetPlace(account);
  }
  if (!LooksForMailThere()) return {};
  const auto [there, begins] = _there.try_emplace(account);
  _thereHere = &there->second;
  const auto* holder = dynamic_cast<const engine::IMapiFolderHolder*>(&target);
  if (!begins || !holder || !holder->MapiFolder()) return {};
  return _thereHere->Add(*holder->MapiFolder());
}

void Selection::EndFolder(std::size_t account) {
  if (_options.dedup == Dedup::kFolder) _duplicates.erase(account);
  _there.erase(account);
}

// Copies first: what has a copy before it is not looked for in the destination, where it never
// went.
Judgement Selection::Judge(QuelmarMIMEEngineCommon::IAsset& item) {
  if (_duplicatesHere) {
    if (const Judgement judgement = _duplicatesHere->Judge(item);
        judgement.verdict != Verdict::kTake)
      return judgement;
  }
  return _thereHere ? _thereHere->Judge(item) : Judgement{};
}

}  // namespace parvane::cli
