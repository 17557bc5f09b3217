#include "moves/comparison.h"

#include <algorithm>
#include <tuple>

#include "platform/text.h"

namespace parvane::moves {
namespace {

// Of those who wait: what is told of more of them than that is where they are.
constexpr std::size_t kMostNames = 100'000;
constexpr std::size_t kMostNameBytes = 32 << 20;

// Two fields as one number; others get the same by chance only.
std::uint64_t Mixed(std::initializer_list<std::uint32_t> fields) {
  std::uint64_t mixed = 0;
  for (const std::uint32_t field : fields) mixed = (mixed ^ field) * 0x9E3779B97F4A7C15;
  return std::max<std::uint64_t>(mixed, 1);
}

std::uint64_t Envelope(const ContentSummary& content) {
  return Mixed({content.Of(ContentField::kSubject), content.Of(ContentField::kOriginator),
                content.Of(ContentField::kDates)});
}

std::uint64_t Inside(const ContentSummary& content) {
  const std::uint32_t text = content.Of(ContentField::kText),
                      html = content.Of(ContentField::kHtml);
  // Of messages without text there may be many that have nothing to do with each other.
  return text == 0 && html == 0 ? 0 : Mixed({text, html, content.Of(ContentField::kAttachments)});
}

}  // namespace

std::uint32_t FolderNumbers::Of(const Path& path) {
  Path folded;
  for (const std::u16string& name : path) folded.push_back(platform::FoldCase(name));
  const auto [at, isNew] =
      _numbers.try_emplace(std::move(folded), static_cast<std::uint32_t>(_paths.size()));
  if (isNew) _paths.push_back(path);
  return at->second;
}

bool FolderNumbers::Continues(std::uint32_t next, std::uint32_t full) const {
  const Path &behind = _paths[next], &before = _paths[full];
  if (behind.size() != before.size() || behind.empty() ||
      !std::equal(behind.begin(), behind.end() - 1, before.begin())) {
    return false;
  }
  const std::u16string_view name = behind.back();
  const std::size_t bracket = name.rfind(u" (");
  if (bracket == name.npos || !name.ends_with(u')')) return false;
  const std::u16string_view number = name.substr(bracket + 2, name.size() - bracket - 3);
  // A long name was cut for the number.
  return !number.empty() && number.find_first_not_of(u"0123456789") == number.npos &&
         before.back().starts_with(name.substr(0, bracket));
}

FolderTally& Comparison::TallyOf(std::uint32_t folder) {
  if (folder >= _tallies.size()) _tallies.resize(folder + 1);
  return _tallies[folder];
}

FolderTally Comparison::Total() const {
  FolderTally total;
  for (const FolderTally& tally : _tallies) {
    total.expected += tally.expected;
    total.same += tally.same;
    for (std::size_t i = 0; i < kFindingKinds; ++i) total.found[i] += tally.found[i];
  }
  return total;
}

void Comparison::AddThere(std::uint32_t folder, std::uint32_t place,
                          const ContentSummary& content) {
  if (folder >= _counts.size()) _counts.resize(folder + 1);
  ++_counts[folder];
  There& there = _there.emplace_back();
  static_cast<ContentSummary&>(there) = content;
  there.folder = folder;
  there.place = place;
}

void Comparison::BeginExpecting() {
  std::ranges::sort(_there, {}, [](const There& there) {
    return std::tuple(there.folder, there.content, there.place);
  });
}

std::deque<Comparison::There>::iterator Comparison::RunOf(std::uint32_t folder,
                                                          std::uint64_t content) {
  return std::ranges::lower_bound(_there, std::pair(folder, content), {}, [](const There& there) {
    return std::pair(there.folder, there.content);
  });
}

void Comparison::Expect(std::uint32_t folder, std::uint64_t position, const ContentSummary& content,
                        MessageName name) {
  FolderTally& tally = TallyOf(folder);
  ++tally.expected;
  const auto run = RunOf(folder, content.content);
  if (run != _there.end() && _there.end() - run > run->settled) {
    const There& next = run[run->settled];
    if (next.folder == folder && next.content == content.content) {
      ++run->settled;
      ++tally.same;
      return;
    }
  }
  Waiting& waiting = _waiting.emplace_back();
  static_cast<ContentSummary&>(waiting) = content;
  waiting.folder = folder;
  waiting.position = position;
  const std::size_t bytes = sizeof(name) + name.messageId.size() + name.subject.size();
  if (_names.size() >= kMostNames || _nameBytes + bytes > kMostNameBytes) return;
  _nameBytes += bytes;
  _names.push_back(std::move(name));
  waiting.name = static_cast<std::uint32_t>(_names.size() - 1);
}

// Where it should be, or where its folder went on. No folder is full before it has so many.
bool Comparison::IsInPlace(const Waiting& waiting, const There& found) const {
  constexpr std::uint64_t kFewestOfFull = 10'000;
  if (found.folder == waiting.folder) return true;
  return waiting.folder < _counts.size() && _counts[waiting.folder] >= kFewestOfFull &&
         _folders.Continues(found.folder, waiting.folder);
}

Finding Comparison::FindingOf(const Waiting& waiting) {
  Finding finding;
  finding.folder = waiting.folder;
  finding.position = waiting.position;
  finding.name = waiting.name;
  return finding;
}

// Sorts both by their keys and goes through them together.
template <typename KeyOf>
void Comparison::Pair(Unpaired& unpaired, KeyOf keyOf) {
  if (unpaired.waiting.empty() || unpaired.there.empty()) return;
  const auto waitingKey = [&](std::uint32_t i) { return std::pair(keyOf(_waiting[i]), i); };
  const auto thereKey = [&](std::uint32_t i) {
    return std::pair(keyOf(_there[i]), _there[i].place);
  };
  std::ranges::sort(unpaired.waiting, {}, waitingKey);
  std::ranges::sort(unpaired.there, {}, thereKey);
  std::vector<std::uint32_t> stillWaiting, stillThere;
  auto there = unpaired.there.begin();
  for (const std::uint32_t i : unpaired.waiting) {
    const Key key = waitingKey(i).first;
    while (there != unpaired.there.end() && thereKey(*there).first < key)
      stillThere.push_back(*there++);
    if (key.second == 0 || there == unpaired.there.end() || thereKey(*there).first != key) {
      stillWaiting.push_back(i);
      continue;
    }
    const Waiting& waiting = _waiting[i];
    const There& found = _there[*there++];
    Finding finding = FindingOf(waiting);
    finding.different = Differences(waiting, found);
    finding.foundIn = found.folder;
    finding.place = found.place;
    finding.kind = finding.different != 0 ? FindingKind::kDifferent : FindingKind::kElsewhere;
    if (finding.different == 0 && IsInPlace(waiting, found)) {
      ++TallyOf(waiting.folder).same;
    } else {
      unpaired.findings.push_back(finding);
    }
  }
  stillThere.insert(stillThere.end(), there, unpaired.there.end());
  unpaired.waiting = std::move(stillWaiting);
  unpaired.there = std::move(stillThere);
}

// With a copy of each, where all that are there stand for others.
std::vector<Finding> Comparison::Missing(const std::vector<std::uint32_t>& waiting) const {
  std::vector<Finding> missing;
  std::vector<std::pair<std::uint64_t, std::uint32_t>> contents;
  for (const std::uint32_t i : waiting) {
    contents.emplace_back(_waiting[i].content, static_cast<std::uint32_t>(missing.size()));
    missing.push_back(FindingOf(_waiting[i]));
  }
  std::ranges::sort(contents);
  for (const There& there : _there) {
    auto copy = std::ranges::lower_bound(contents, std::pair(there.content, std::uint32_t{0}));
    for (; copy != contents.end() && copy->first == there.content; ++copy) {
      Finding& finding = missing[copy->second];
      if (finding.foundIn != kNone) break;
      finding.foundIn = there.folder;
      finding.place = there.place;
    }
  }
  return missing;
}

std::vector<Finding> Comparison::Finish() {
  Unpaired unpaired;
  for (std::size_t i = 0; i < _waiting.size(); ++i)
    unpaired.waiting.push_back(static_cast<std::uint32_t>(i));
  for (auto run = _there.begin(); run != _there.end();) {
    auto end = run;
    while (end != _there.end() && end->folder == run->folder && end->content == run->content) ++end;
    for (auto left = run + run->settled; left != end; ++left)
      unpaired.there.push_back(static_cast<std::uint32_t>(left - _there.begin()));
    run = end;
  }
  // A folder's number as keys have it, so that none is 0.
  const auto in = [](const auto& message) { return std::uint64_t{message.folder} + 1; };
  Pair(unpaired, [](const auto& m) { return Key(0, m.content); });
  Pair(unpaired, [&](const auto& m) { return Key(in(m), m.key); });
  Pair(unpaired, [&](const auto& m) { return Key(in(m), m.messageId); });
  Pair(unpaired, [](const auto& m) { return Key(0, m.key); });
  Pair(unpaired, [](const auto& m) { return Key(0, m.messageId); });
  Pair(unpaired, [&](const auto& m) { return Key(in(m), Envelope(m)); });
  Pair(unpaired, [&](const auto& m) { return Key(in(m), Inside(m)); });

  std::vector<Finding>& findings = unpaired.findings;
  const std::vector<Finding> missing = Missing(unpaired.waiting);
  findings.insert(findings.end(), missing.begin(), missing.end());
  std::ranges::sort(findings, {}, [](const Finding& f) { return std::pair(f.folder, f.position); });
  std::ranges::sort(unpaired.there, {}, [this](std::uint32_t i) { return _there[i].place; });
  for (const std::uint32_t i : unpaired.there) {
    Finding extra;
    extra.kind = FindingKind::kExtra;
    extra.folder = _there[i].folder;
    extra.foundIn = extra.folder;
    extra.place = _there[i].place;
    findings.push_back(extra);
  }
  for (const Finding& finding : findings)
    ++TallyOf(finding.folder).found[static_cast<std::size_t>(finding.kind)];
  return findings;
}

}  // namespace parvane::moves
