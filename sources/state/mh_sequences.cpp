#include "sources/state/mh_sequences.h"

#include <algorithm>
#include <charconv>

#include "platform/text.h"

namespace parvane::sources {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// Takes the number at the front of `text` away; 0: there is none.
std::uint32_t TakeNumber(std::string_view& text) {
  std::uint32_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
  return read.ec == std::errc() ? number : 0;
}

}  // namespace

MhSequences MhSequences::Parse(std::string_view file) {
  MhSequences sequences;
  std::vector<Range>* ranges = nullptr;  // of the line in hand; null: of no interest
  for (std::size_t at = 0; at < file.size();) {
    std::string_view line = file.substr(at, file.find_first_of("\r\n", at) - at);
    at += line.size() + 1;
    if (line.empty()) continue;
    if (!IsBlank(line.front())) {
      const std::size_t colon = std::min(line.find(':'), line.size());
      const auto name = std::ranges::find_if(kNames, [&](std::string_view one) {
        return platform::EqualsIgnoreAsciiCase(line.substr(0, colon), one);
      });
      ranges = name == kNames.end() ? nullptr : &sequences._ranges[name - kNames.begin()];
      line.remove_prefix(std::min(colon + 1, line.size()));
    }
    if (ranges) sequences.AddRanges(line, *ranges);
  }
  for (std::vector<Range>& each : sequences._ranges) {
    std::ranges::sort(each);
    std::vector<Range> apart;
    for (const Range& range : each) {
      if (apart.empty() || range.first > apart.back().second) {
        apart.push_back(range);
      } else {
        apart.back().second = std::max(apart.back().second, range.second);
      }
    }
    each = std::move(apart);
  }
  return sequences;
}

void MhSequences::AddRanges(std::string_view text, std::vector<Range>& ranges) const {
  while (!text.empty()) {
    if (IsBlank(text.front())) {
      text.remove_prefix(1);
      continue;
    }
    const std::uint32_t from = TakeNumber(text);
    std::uint32_t to = from;
    if (!text.empty() && text.front() == '-') {
      text.remove_prefix(1);
      to = TakeNumber(text);
    }
    if (from > 0 && to >= from) ranges.emplace_back(from, to);
    // What else stands in the word makes no sense here.
    while (!text.empty() && !IsBlank(text.front())) text.remove_prefix(1);
  }
}

bool MhSequences::Has(Mark mark, std::uint32_t number) const {
  const std::vector<Range>& ranges = _ranges[mark];
  const auto behind = std::ranges::upper_bound(ranges, number, {}, &Range::first);
  return behind != ranges.begin() && std::prev(behind)->second >= number;
}

void MhSequences::Read(std::uint32_t number, engine::MessageState& state) const {
  constexpr auto kOrigin = engine::StateOrigin::kSequences;
  state.read.Learn(!Has(kUnseen, number), kOrigin);
  state.flagged.Learn(Has(kFlagged, number), kOrigin);
  state.replied.Learn(Has(kReplied, number), kOrigin);
  // Few programs keep this one: that it is not there says nothing.
  if (Has(kForwarded, number)) state.forwarded.Learn(true, kOrigin);
}

}  // namespace parvane::sources
