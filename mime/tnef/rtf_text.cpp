#include "mime/tnef/rtf_text.h"

#include <algorithm>
#include <utility>

#include "platform/code_pages/code_page.h"
#include "platform/text.h"

namespace parvane::tnef {
namespace {

constexpr std::size_t kPiece = 8192;
constexpr std::size_t kLongestRun = 65536;  // without a blank
// No writer nests so deep. What is deeper is read as if it stood at this depth.
constexpr std::size_t kDeepest = 1000;
constexpr std::size_t kMostFonts = 4096;
constexpr std::size_t kLongestWord = 32;
constexpr std::size_t kLongestNumber = 10;

// Groups of these are read by programs. Those that this list lacks mostly begin with "\*", which
// says the same of any group.
constexpr std::string_view kNotText[] = {
    "colortbl", "stylesheet", "info",    "pict",      "object",  "header",    "headerl",
    "headerr",  "headerf",    "footer",  "footerl",   "footerr", "footerf",   "footnote",
    "fldinst",  "listtable",  "filetbl", "revtbl",    "rsidtbl", "generator", "listoverridetable",
    "xe",       "tc",         "rxe",     "bkmkstart", "bkmkend", "themedata", "nonshppict"};

struct Sign {
  std::string_view word;
  std::u16string_view text;
};
constexpr Sign kSigns[] = {
    {"par", u"\r\n"},         {"line", u"\r\n"},     {"row", u"\r\n"},
    {"sect", u"\r\n"},        {"page", u"\r\n"},     {"tab", u"\t"},
    {"cell", u"\t"},          {"emdash", u"\u2014"}, {"endash", u"\u2013"},
    {"lquote", u"\u2018"},    {"rquote", u"\u2019"}, {"ldblquote", u"\u201C"},
    {"rdblquote", u"\u201D"}, {"bullet", u"\u2022"}, {"emspace", u" "},
    {"enspace", u" "}};

// \fcharset: the character sets of Windows' fonts.
struct CharacterSet {
  std::int32_t set;
  unsigned codePage;
};
constexpr CharacterSet kCharacterSets[] = {{77, 10000}, {128, 932},  {129, 949},  {130, 1361},
                                           {134, 936},  {136, 950},  {161, 1253}, {162, 1254},
                                           {163, 1258}, {177, 1255}, {178, 1256}, {186, 1257},
                                           {204, 1251}, {222, 874},  {238, 1250}};

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int HexDigit(char c) {
  if (IsDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : 0;
}

std::int32_t NumberOf(std::string_view digits) {
  std::int64_t value = 0;
  const bool negative = digits.starts_with('-');
  for (const char c : digits.substr(negative ? 1 : 0)) value = value * 10 + (c - '0');
  value = std::min<std::int64_t>(value, 0x7FFFFFFF);
  return static_cast<std::int32_t>(negative ? -value : value);
}

}  // namespace

void RtfText::Take(std::string_view rtf) {
  for (const char c : rtf) TakeByte(c);
}

void RtfText::End() {
  if (_expects == Expects::kWord || _expects == Expects::kNumber) EndWord(' ');
  DecodeBytes();
  Flush();
}

void RtfText::TakeByte(char c) {
  switch (_expects) {
    case Expects::kBinary:
      if (--_binary == 0) _expects = Expects::kText;
      return;
    case Expects::kControl:
      return BeginControl(c);
    case Expects::kHex:
      _word += c;
      if (_word.size() < 2) return;
      _expects = Expects::kText;
      return Character(static_cast<char>(HexDigit(_word[0]) * 16 + HexDigit(_word[1])));
    case Expects::kWord:
      if (IsLetter(c)) {
        if (_word.size() < kLongestWord) _word += c;
        return;
      }
      _expects = Expects::kNumber;
      [[fallthrough]];
    case Expects::kNumber:
      if (IsDigit(c) || (c == '-' && _number.empty())) {
        if (_number.size() < kLongestNumber) _number += c;
        return;
      }
      return EndWord(c);
    case Expects::kText:
      break;
  }
  if (c == '\\') {
    _expects = Expects::kControl;
  } else if (c == '{') {
    Open();
  } else if (c == '}') {
    Close();
  } else if (c != '\r' && c != '\n' && c != '\0') {
    Character(c);
  }
}

void RtfText::BeginControl(char c) {
  _word.clear();
  _number.clear();
  _expects = Expects::kText;
  if (IsLetter(c)) {
    _word += c;
    _expects = Expects::kWord;
  } else if (c == '\'') {
    _expects = Expects::kHex;
  } else if (c == '*') {
    _group.isText = false;
  } else if (c == '~') {
    Unicode(u'\u00A0');
  } else if (c == '_') {
    Character('-');
  } else if (c == '\r' || c == '\n') {
    Obey("par", false, 0);
  } else if (c == '\\' || c == '{' || c == '}') {
    Character(c);
  }
}

// A blank behind a word belongs to it; anything else is the next item.
void RtfText::EndWord(char c) {
  _expects = Expects::kText;
  Obey(_word, !_number.empty(), NumberOf(_number));
  if (c != ' ') TakeByte(c);
}

void RtfText::Open() {
  // Characters that stand for a \u stand in its own group.
  _skip = 0;
  if (_groups.size() == kDeepest) {
    ++_deeper;
  } else {
    _groups.push_back(_group);
  }
}

void RtfText::Close() {
  _skip = 0;
  if (_deeper > 0) {
    --_deeper;
  } else if (!_groups.empty()) {
    DecodeBytes();
    _group = _groups.back();
    _groups.pop_back();
  }
}

void RtfText::Obey(std::string_view word, bool hasNumber, std::int32_t number) {
  if (word == "bin") {
    _binary = static_cast<std::uint32_t>(std::max(number, 0));
    if (_binary > 0) _expects = Expects::kBinary;
  } else if (word == "u") {
    Unicode(static_cast<char16_t>(number));
    _skip = _group.unicodeSkip;
  } else if (word == "uc") {
    _group.unicodeSkip = static_cast<std::uint32_t>(std::max(number, 0));
  } else if (word == "ansicpg") {
    DecodeBytes();
    _codePage = _group.codePage = static_cast<unsigned>(number);
  } else if (word == "fonttbl") {
    _group.isFontTable = true;
    _group.isText = false;
  } else if (word == "f" || word == "fcharset") {
    if (hasNumber) ObeyFont(word, number);
  } else if (word == "plain") {
    DecodeBytes();
    _group.codePage = _codePage;
  } else if (const auto* sign = std::ranges::find(kSigns, word, &Sign::word);
             sign != std::end(kSigns)) {
    for (const char16_t c : sign->text) Unicode(c);
  } else if (std::ranges::find(kNotText, word) != std::end(kNotText)) {
    _group.isText = false;
  }
}

void RtfText::ObeyFont(std::string_view word, std::int32_t number) {
  if (word == "f" && !_group.isFontTable) {
    DecodeBytes();
    const auto font = _fonts.find(number);
    _group.codePage = font == _fonts.end() ? _codePage : font->second;
  } else if (word == "f") {
    _font = number;
  } else if (_group.isFontTable && _fonts.size() < kMostFonts) {
    const auto* known = std::ranges::find(kCharacterSets, number, &CharacterSet::set);
    if (known != std::end(kCharacterSets)) _fonts[_font] = known->codePage;
  }
}

void RtfText::Character(char c) {
  if (_skip > 0) {
    --_skip;
    return;
  }
  if (!_group.isText) return;
  // Plain characters, too, go through the code page: they may be the second halves of others.
  _bytes += c;
  if (_bytes.size() >= kPiece && c == ' ') DecodeBytes();
  if (_bytes.size() >= kLongestRun) DecodeBytes();
}

void RtfText::Unicode(char16_t c) {
  if (!_group.isText || c == 0) return;
  DecodeBytes();
  _text += c;
  // The other half of a character beyond U+FFFF comes as a \u of its own.
  if (_text.size() >= kPiece && (c & 0xFC00) != 0xD800) Flush();
}

void RtfText::DecodeBytes() {
  if (_bytes.empty()) return;
  platform::DecodeCodePage(_group.codePage, _bytes, _text);
  _bytes.clear();
  if (_text.size() >= kPiece) Flush();
}

void RtfText::Flush() {
  platform::ReplaceUnpairedSurrogates(_text);
  if (!_text.empty()) _sink(_text);
  _text.clear();
}

}  // namespace parvane::tnef
