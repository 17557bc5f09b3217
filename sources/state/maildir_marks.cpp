#include "sources/state/maildir_marks.h"

#include <charconv>

#include "sources/state/keywords.h"

namespace parvane::sources {
namespace {

// The last two are what Windows and macOS put on their disks for a ":" that came over a network.
constexpr std::u16string_view kSeparators = u":;!\uF03A\uF022";
constexpr std::u16string_view kVersion = u"2,";

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// As many digits as the time has had since 1973 and will have for long.
std::optional<std::uint64_t> DeliveryTime(std::u16string_view name) {
  std::size_t digits = 0;
  std::uint64_t seconds = 0;
  for (; digits < name.size() && IsDigit(name[digits]); ++digits) {
    if (digits == 10) return std::nullopt;
    seconds = seconds * 10 + static_cast<std::uint64_t>(name[digits] - u'0');
  }
  if (digits < 9) return std::nullopt;
  return seconds;
}

// Where the letters begin; npos: it has no place for them.
std::size_t PlaceOfLetters(std::u16string_view name) {
  for (std::size_t at = name.rfind(kVersion); at != name.npos && at > 0;
       at = name.rfind(kVersion, at - 1)) {
    if (kSeparators.find(name[at - 1]) != kSeparators.npos) return at + kVersion.size();
  }
  return name.npos;
}

std::string_view LineAt(std::string_view file, std::size_t at) {
  return file.substr(at, file.find_first_of("\r\n", at) - at);
}

}  // namespace

MaildirName ParseMaildirName(std::u16string_view name) {
  MaildirName parsed;
  parsed.delivered = DeliveryTime(name);
  const std::size_t letters = PlaceOfLetters(name);
  if (letters == name.npos) return parsed;
  parsed.tells = true;
  for (const char16_t c : name.substr(letters)) {
    if (c >= u'A' && c <= u'Z') {
      parsed.flags |= 1u << (c - u'A');
    } else if (c >= u'a' && c <= u'z') {
      parsed.keywords |= 1u << (c - u'a');
    } else {
      break;
    }
  }
  return parsed;
}

MaildirKeywords ParseDovecotKeywords(std::string_view file) {
  MaildirKeywords keywords;
  for (std::size_t at = 0; at < file.size();) {
    const std::string_view line = LineAt(file, at);
    at += line.size() + 1;
    std::size_t number = 0;
    const auto read = std::from_chars(line.data(), line.data() + line.size(), number);
    if (read.ec != std::errc() || number >= keywords.size()) continue;
    const std::string_view rest = line.substr(static_cast<std::size_t>(read.ptr - line.data()));
    if (rest.size() > 1 && rest.front() == ' ') keywords[number] = rest.substr(1);
  }
  return keywords;
}

void ReadMaildirMarks(const MaildirName& name, bool isNew, const MaildirKeywords& keywords,
                      const engine::StateWishes& wishes, engine::MessageState& state) {
  constexpr auto kOrigin = engine::StateOrigin::kFileName;
  if (isNew) state.read.Learn(false, kOrigin);
  if (!name.tells) return;
  if (name.keywords != 0) {
    std::string words;
    for (std::size_t i = 0; i < keywords.size(); ++i) {
      if ((name.keywords >> i & 1) != 0) words += keywords[i] + ' ';
    }
    Categories categories;
    ReadKeywords(words, KeywordKind::kOther, wishes, kOrigin, state, categories);
    state.moreCategories = categories.more();
    state.categories.Learn(categories.Take(), kOrigin);
  }
  state.read.Learn(name.Has('S'), kOrigin);
  state.replied.Learn(name.Has('R'), kOrigin);
  state.forwarded.Learn(name.Has('P'), kOrigin);
  state.flagged.Learn(name.Has('F'), kOrigin);
  state.draft.Learn(name.Has('D'), kOrigin);
  state.deleted.Learn(name.Has('T'), kOrigin);
}

}  // namespace parvane::sources
