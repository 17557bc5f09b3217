#include "moves/folder_glob.h"

#include <algorithm>
#include <utility>

#include "platform/text.h"

namespace parvane::moves {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

Status Fault(const char* why) { return {StatusCode::kInvalidArgument, why}; }

std::u16string_view Trimmed(std::u16string_view text) {
  while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
  return text;
}

// Up to the next "/" that is none of a name.
std::u16string_view TakeLevel(std::u16string_view& rest) {
  std::size_t end = 0;
  while (end < rest.size() && rest[end] != u'/') end += rest[end] == u'\\' ? 2 : 1;
  end = std::min(end, rest.size());
  const std::u16string_view level = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return Trimmed(level);
}

}  // namespace

Result<FolderGlob> FolderGlob::Parse(std::u16string_view text) {
  FolderGlob glob;
  glob._text = text;
  const std::u16string folded = platform::FoldCase(Trimmed(text));
  std::u16string_view rest = folded;
  const bool fromTop = rest.starts_with(u'/');
  if (fromTop) rest.remove_prefix(1);
  while (!rest.empty()) {
    const std::u16string_view name = TakeLevel(rest);
    if (name.empty()) return Fault("a name is missing between two \"/\"");
    auto level = name == u"**" ? Result<Level>(Level{}) : ParseLevel(name);
    if (!level.ok()) return level.status();
    glob._levels.push_back(*std::move(level));
  }
  if (glob._levels.empty()) return Fault("it names no folder");
  glob._anywhere = !fromTop && glob._levels.size() == 1;
  return glob;
}

Result<FolderGlob::Level> FolderGlob::ParseLevel(std::u16string_view text) {
  Level level;
  for (std::size_t at = 0; at < text.size(); ++at) {
    Token token{Kind::kCharacter, text[at]};
    if (text[at] == u'\\') {
      if (++at == text.size()) return Fault("nothing stands behind its last \"\\\"");
      token.character = text[at];
    } else if (text[at] == u'*') {
      token.kind = Kind::kAny;
    } else if (text[at] == u'?') {
      token.kind = Kind::kAnyOne;
    } else if (text[at] == u'[') {
      token.kind = Kind::kOneOf;
      token.negated = text.substr(at + 1).starts_with(u'!');
      std::size_t in = at + (token.negated ? 2 : 1);
      // A bracket that stands first is one of the characters.
      for (bool first = true; in < text.size() && (first || text[in] != u']'); first = false) {
        const bool range = in + 2 < text.size() && text[in + 1] == u'-' && text[in + 2] != u']';
        token.ranges.emplace_back(text[in], text[in + (range ? 2 : 0)]);
        in += range ? 3 : 1;
      }
      if (in >= text.size()) return Fault("a \"[\" is not closed");
      at = in;
    }
    level.push_back(std::move(token));
  }
  return level;
}

bool FolderGlob::Token::Takes(char16_t c) const {
  if (kind == Kind::kAnyOne) return true;
  if (kind == Kind::kCharacter) return c == character;
  return negated != std::ranges::any_of(ranges, [c](const auto& range) {
           return range.first <= c && c <= range.second;
         });
}

// Goes back to the last "*" only, which is enough, and never slow.
bool FolderGlob::LevelMatches(const Level& level, std::u16string_view name) {
  std::size_t at = 0, token = 0;
  std::size_t star = level.size(), starAt = 0;
  while (at < name.size()) {
    if (token < level.size() && level[token].kind == Kind::kAny) {
      star = token++;
      starAt = at;
    } else if (token < level.size() && level[token].Takes(name[at])) {
      // What stands for any character takes both halves of one.
      const bool pair = level[token].kind != Kind::kCharacter && (name[at] & 0xFC00) == 0xD800 &&
                        at + 1 < name.size();
      ++token;
      at += pair ? 2 : 1;
    } else if (star < level.size()) {
      token = star + 1;
      at = ++starAt;
    } else {
      return false;
    }
  }
  while (token < level.size() && level[token].kind == Kind::kAny) ++token;
  return token == level.size();
}

bool FolderGlob::Matches(const std::vector<std::u16string>& path) const {
  // Which beginnings of the pattern match the names so far.
  std::vector<bool> open(_levels.size() + 1);
  open[0] = true;
  const auto passOverAny = [&] {
    for (std::size_t i = 0; i < _levels.size(); ++i) {
      if (open[i] && _levels[i].empty()) open[i + 1] = true;
    }
  };
  passOverAny();
  for (const std::u16string& one : path) {
    const std::u16string name = platform::FoldCase(one);
    std::vector<bool> next(open.size());
    for (std::size_t i = 0; i < _levels.size(); ++i) {
      if (!open[i]) continue;
      if (_levels[i].empty()) next[i] = next[i + 1] = true;
      if (!_levels[i].empty() && LevelMatches(_levels[i], name)) next[i + 1] = true;
    }
    if (_anywhere) next[0] = true;
    open = std::move(next);
    if (open.back()) return true;
    passOverAny();
  }
  return false;
}

}  // namespace parvane::moves
