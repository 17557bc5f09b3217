// A pattern for folders, as people know them from lists of ignored files, by the names on the way
// to a folder:
//
//   pattern        matches
//   Trash          any folder of that name, wherever it lies
//   List*          any whose name begins so
//   Inbox/Work     this folder below the top, and no other "Work"
//   /Inbox         that of the top only
//   Inbox/**       what is below the Inbox, and not the Inbox
//   Inbox/**/2019  "2019" any number of levels below it
//   ?  [a-f]  [!a-f]  \*    one character; one of these; none of them; the character itself
//
// A folder that matches means it and all below it. Letter case makes no difference, nor do blanks
// around a "/", with which paths are shown. "*" and "?" stay within a name.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/status.h"

namespace parvane::moves {

class FolderGlob {
 public:
  // Fails, with the reason, for a pattern that can mean no folder.
  static platform::Result<FolderGlob> Parse(std::u16string_view text);

  // Whether the folder, or one above it, is meant. The names on the way to it from the top.
  bool Matches(const std::vector<std::u16string>& path) const;
  // As it was given.
  const std::u16string& text() const { return _text; }

 private:
  enum class Kind : std::uint8_t { kCharacter, kAnyOne, kAny, kOneOf };
  struct Token {
    Kind kind = Kind::kCharacter;
    char16_t character = 0;
    bool negated = false;
    std::vector<std::pair<char16_t, char16_t>> ranges = {};
    bool Takes(char16_t c) const;
  };
  // Of one name; with no tokens, of any number of names.
  using Level = std::vector<Token>;

  static platform::Result<Level> ParseLevel(std::u16string_view text);
  static bool LevelMatches(const Level& level, std::u16string_view name);

  std::u16string _text;
  std::vector<Level> _levels;
  bool _anywhere = false;
};

}  // namespace parvane::moves
