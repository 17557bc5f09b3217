#include "mime/facade/ts_string.h"

#include <string>
#include <utility>

#include "mime/facade/cls_string.h"
#include "mime/facade/ts_string_array.h"
#include "platform/text.h"

namespace Tessary {
namespace {

template <typename IsSpace>
void TrimBothEnds(std::u16string& text, IsSpace isSpace) {
  while (!text.empty() && isSpace(text.back())) text.pop_back();
  std::size_t start = 0;
  while (start < text.size() && isSpace(text[start])) ++start;
  text.erase(0, start);
}

}  // namespace

TsString::TsString() : _implP(std::make_unique<ClsString>()) {}
TsString::~TsString() = default;
TsString::TsString(const TsString& other) : _implP(std::make_unique<ClsString>(*other._implP)) {}
TsString& TsString::operator=(const TsString& other) {
  if (this != &other) *_implP = *other._implP;
  return *this;
}
// What is moved from stays usable.
TsString::TsString(TsString&& other) noexcept : TsString() { _implP.swap(other._implP); }
TsString& TsString::operator=(TsString&& other) noexcept {
  _implP.swap(other._implP);
  return *this;
}

bool TsString::get_Utf8() const { return _implP->utf8Flag; }
void TsString::put_Utf8(bool utf8) { _implP->utf8Flag = utf8; }

void TsString::append(const char* text) {
  if (text != nullptr) _implP->AppendNarrow(text);
}
void TsString::append(std::string_view text) { _implP->AppendNarrow(text); }
void TsString::appendU(const char16_t* text) {
  if (text != nullptr) _implP->AppendUtf16(text);
}
void TsString::appendU(std::u16string_view text) { _implP->AppendUtf16(text); }
void TsString::clear() { _implP->Clear(); }

const char16_t* TsString::getUnicode() const {
  // The view is of a std::u16string, so a NUL follows it.
  return _implP->Utf16().data();
}
const char* TsString::getUtf8() const { return _implP->Utf8Z(); }
const char* TsString::getAnsi() const { return _implP->AnsiZ(); }
std::size_t TsString::getSizeUnicode() const { return _implP->Utf16().size(); }
std::size_t TsString::getSizeUtf8() const { return _implP->Utf8().size(); }
std::size_t TsString::getSizeAnsi() const { return _implP->Ansi().size(); }
std::u16string_view TsString::viewUnicode() const { return _implP->Utf16(); }
std::string_view TsString::viewUtf8() const { return _implP->Utf8(); }
std::string_view TsString::viewAnsi() const { return _implP->Ansi(); }
std::string_view TsString::viewRaw() const { return _implP->Raw(); }
bool TsString::isEmpty() const { return _implP->Raw().empty(); }

TsString TsString::substring(std::size_t start, std::size_t count) const {
  const std::u16string_view text = _implP->Utf16();
  TsString part;
  part.put_Utf8(get_Utf8());
  if (start < text.size()) part.appendU(text.substr(start, count));
  return part;
}

TsStringArray TsString::tokenize(const char* delimiters) const {
  const std::u16string set = parvane::platform::Utf8ToUtf16(
      NarrowToUtf8(delimiters == nullptr ? "" : delimiters, get_Utf8()));
  TsStringArray tokens;
  std::u16string_view rest = _implP->Utf16();
  while (!rest.empty()) {
    const std::size_t end = rest.find_first_of(set);
    if (end != 0) tokens.append(rest.substr(0, end));
    if (end == std::u16string_view::npos) break;
    rest.remove_prefix(end + 1);
  }
  return tokens;
}

void TsString::trim() { TrimBothEnds(_implP->Edit(), parvane::platform::IsWhiteSpace); }

void TsString::trim2() {
  TrimBothEnds(_implP->Edit(), [](char16_t c) { return c == u' ' || c == u'\t'; });
}

int TsString::replaceAllOccurances(const char* find, const char* replace) {
  const auto wide = [this](const char* text) {
    return parvane::platform::Utf8ToUtf16(NarrowToUtf8(text == nullptr ? "" : text, get_Utf8()));
  };
  const std::u16string what = wide(find);
  if (what.empty()) return 0;
  const std::u16string with = wide(replace);
  std::u16string& text = _implP->Edit();
  std::u16string result;
  std::size_t from = 0;
  int count = 0;
  for (std::size_t at = text.find(what); at != std::u16string::npos; at = text.find(what, from)) {
    result.append(text, from, at - from).append(with);
    from = at + what.size();
    ++count;
  }
  if (count > 0) text = result.append(text, from);
  return count;
}

void TsString::replaceChar(char16_t find, char16_t replace) {
  for (char16_t& c : _implP->Edit()) {
    if (c == find) c = replace;
  }
}

bool TsString::equalsIgnoreCase(const char* text) const {
  const std::string_view narrow = text == nullptr ? "" : text;
  if (parvane::platform::IsAscii(narrow) && parvane::platform::IsAscii(_implP->Utf8())) {
    return parvane::platform::EqualsIgnoreAsciiCase(_implP->Utf8(), narrow);
  }
  return parvane::platform::EqualsIgnoreCase(
      _implP->Utf16(), parvane::platform::Utf8ToUtf16(NarrowToUtf8(narrow, get_Utf8())));
}

bool TsString::equalsIgnoreCase(const TsString& text) const {
  return parvane::platform::EqualsIgnoreCase(_implP->Utf16(), text._implP->Utf16());
}

char16_t TsString::charAt(std::size_t index) const {
  const std::u16string_view text = _implP->Utf16();
  return index < text.size() ? text[index] : u'\0';
}

}  // namespace Tessary
