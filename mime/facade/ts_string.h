// TsString: the text value through which the mail library returns every string.
//
// It keeps its text in the form it was given (bytes of a message, UTF-8, UTF-16) and converts on
// request, once; text that is never asked for is never converted. Getters of other facade classes
// clear the TsString they are given before they fill it, and leave it empty when they fail.
//
// Text that came out of a message as bytes of no stated charset (raw header values, getMime) is
// read as UTF-8 when it is valid UTF-8, else in the message's own charset, else as Windows-1252.
//
// A position or count is in UTF-16 units unless stated otherwise. Text may hold NUL characters:
// the view... members show all of it, the pointers of get... are also NUL-terminated. Pointers and
// views hold until the next call that changes the object. Nothing is thrown but std::bad_alloc.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace Tessary {

class ClsString;
class TsStringArray;

class TsString {
 public:
  TsString();
  ~TsString();
  TsString(const TsString& other);
  TsString& operator=(const TsString& other);
  TsString(TsString&& other) noexcept;
  TsString& operator=(TsString&& other) noexcept;

  // How narrow arguments are read: UTF-8 when set, the process's ANSI code page when clear (the
  // state of a new object).
  bool get_Utf8() const;
  void put_Utf8(bool utf8);

  // Appends narrow text, read under the Utf8 flag. Null appends nothing.
  void append(const char* text);
  void append(std::string_view text);
  // Appends UTF-16 text. Null appends nothing.
  void appendU(const char16_t* text);
  void appendU(std::u16string_view text);
  void clear();

  // The text in three encodings, never null.
  const char16_t* getUnicode() const;
  const char* getUtf8() const;
  const char* getAnsi() const;
  // Its length in each, without the terminating NUL: UTF-16 units, bytes, bytes.
  std::size_t getSizeUnicode() const;
  std::size_t getSizeUtf8() const;
  std::size_t getSizeAnsi() const;

  // The same without a terminating NUL, and without a copy where the text is already held so.
  std::u16string_view viewUnicode() const;
  std::string_view viewUtf8() const;
  std::string_view viewAnsi() const;
  // The bytes the text was made of, unconverted, when it came out of a message as bytes (getMime,
  // getEntireBody, header values of a TsMime); else its UTF-8.
  std::string_view viewRaw() const;
  bool isEmpty() const;

  // The part that starts at `start`, at most `count` long; both are clamped to the text.
  TsString substring(std::size_t start, std::size_t count) const;
  // The pieces between any of the delimiter characters; empty pieces are left out.
  TsStringArray tokenize(const char* delimiters) const;
  // Removes white space from both ends.
  void trim();
  // Removes spaces and tabs only, from both ends.
  void trim2();
  // Replaces from left to right; returns how many were replaced. An empty `find` replaces nothing.
  int replaceAllOccurances(const char* find, const char* replace);
  // A NUL to find is found only where the text holds one.
  void replaceChar(char16_t find, char16_t replace);
  // Without regard to case (Unicode simple folding, the same under every locale).
  bool equalsIgnoreCase(const char* text) const;
  bool equalsIgnoreCase(const TsString& text) const;
  // The unit at `index`, 0 past the end.
  char16_t charAt(std::size_t index) const;

 private:
  friend ClsString& ImplementationOf(const TsString&);
  std::unique_ptr<ClsString> _implP;
};

}  // namespace Tessary
