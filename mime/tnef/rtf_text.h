// The plain text of RTF, for messages that have nothing else for those who read plain text.
//
//   rtf     := "{" item* "}"
//   item    := "\" letter+ number? " "?       a control word
//            | "\'" two hex digits            a byte of the font's character set
//            | "\" any other                  a character, or a sign for one
//            | "{" item* "}" | byte           line ends are none
//
// Text is what stands outside of the groups that hold fonts, colours, pictures and the like, or
// begin with "\*". HTML that Outlook has wrapped in RTF ("\fromhtml1") stands in such groups: what
// is left is the text. Taken piece by piece; memory is constant, time linear.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace parvane::tnef {

class RtfText {
 public:
  // Called with the text piece by piece, its line ends CR LF; none ends between two surrogates.
  using Sink = std::function<void(std::u16string_view)>;
  explicit RtfText(Sink sink) : _sink(std::move(sink)) {}

  void Take(std::string_view rtf);
  void End();

 private:
  enum class Expects { kText, kControl, kWord, kNumber, kHex, kBinary };
  // What a group hands on to those in it, and takes back at its end.
  struct Group {
    bool isText = true;
    bool isFontTable = false;
    unsigned codePage = 1252;
    std::uint32_t unicodeSkip = 1;  // characters that stand for one given as \u
  };

  void TakeByte(char c);
  void BeginControl(char c);
  void EndWord(char c);
  void Open();
  void Close();
  void Obey(std::string_view word, bool hasNumber, std::int32_t number);
  void ObeyFont(std::string_view word, std::int32_t number);
  void Character(char c);  // of the text, as a byte
  void Unicode(char16_t c);
  void DecodeBytes();
  void Flush();

  Sink _sink;
  Expects _expects = Expects::kText;
  std::vector<Group> _groups;  // around the one in hand
  std::size_t _deeper = 0;     // groups that are too deep to be remembered
  Group _group;
  unsigned _codePage = 1252;                // of the document
  std::map<std::int32_t, unsigned> _fonts;  // their code pages
  std::int32_t _font = 0;                   // the one being described
  std::string _word;
  std::string _number;
  std::uint32_t _binary = 0;  // bytes to pass over
  std::uint32_t _skip = 0;    // characters to pass over
  std::string _bytes;         // text not decoded yet
  std::u16string _text;       // text not handed on yet
};

}  // namespace parvane::tnef
