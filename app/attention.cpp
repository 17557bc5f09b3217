#include "app/attention.h"

#include <algorithm>
#include <utility>

#include "platform/path.h"

namespace parvane::app {
namespace {

constexpr const char *kLost = "lost", *kChanged = "changed", *kNote = "note";

std::string TextOf(const desk::EntryWords& words) {
  if (words.kind.empty() || words.detail.empty()) return words.kind + words.detail;
  return words.kind + ": " + words.detail;
}

const char* LevelOf(engine::RemarkKind kind) {
  return kind == engine::RemarkKind::kRefused ? kLost : kChanged;
}

}  // namespace

template <typename Entry>
void Attention::Take(const desk::ConversionRecord& record, const desk::Listing<Entry>& list,
                     std::size_t& seen, const char* level) {
  _total += list.total;
  for (; seen < list.entries.size() && _items.size() < kMostItems; ++seen) {
    const desk::EntryWords words = desk::Words(record, list.entries[seen]);
    _items.push_back({words.place, TextOf(words), level});
  }
}

void Attention::Look(const desk::ConversionRecord& record) {
  _total = record.profilesInUse.size();
  for (; _profilesSeen < record.profilesInUse.size(); ++_profilesSeen) {
    const std::u16string& profile = record.profilesInUse[_profilesSeen];
    _items.push_back({platform::PathForDisplay(profile), desk::InUseText(profile), kLost});
  }
  Take(record, record.failures, _seen[0], kLost);
  Take(record, record.leftBehind, _seen[1], kLost);
  Take(record, record.readFailures, _seen[2], kLost);
  Take(record, record.folderRefusals, _seen[3], kLost);
  Take(record, record.leftOutParts, _seen[4], kChanged);
  Take(record, record.unusedIndexes, _seen[5], kChanged);
  Take(record, record.separators, _seen[6], kNote);
  for (std::size_t kind = 0; kind < engine::kRemarkKinds; ++kind) {
    Take(record, record.remarks[kind], _remarksSeen[kind],
         LevelOf(static_cast<engine::RemarkKind>(kind)));
  }
}

Json Attention::From(std::size_t from) const {
  Json items = Json::array();
  const std::size_t first = std::min(from, _items.size());
  for (std::size_t i = first; i < _items.size(); ++i) {
    items.push_back(
        {{"place", _items[i].place}, {"text", _items[i].text}, {"level", _items[i].level}});
  }
  return {{"from", first}, {"items", std::move(items)}, {"total", _total}};
}

}  // namespace parvane::app
