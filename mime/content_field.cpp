#include "mime/content_field.h"

#include <algorithm>
#include <cstdint>

#include "mime/content_coding.h"
#include "platform/text.h"

namespace Tessary {
namespace {

using parvane::platform::IsAsciiWhiteSpace;

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsAsciiWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsAsciiWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

// Letters, digits, and what else stands in names of types: nothing that has a meaning here.
bool IsTokenCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '.' || c == '+' || c == '_';
}

// A parameter, or one section of it, as it stands in the field.
struct RawParameter {
  std::string name;  // lower case, without section and "*"
  std::string value;
  std::uint32_t section = 0;
  bool sectioned = false;
  bool encoded = false;  // percent-encoded
};

class FieldReader {
 public:
  explicit FieldReader(std::string_view text) : _text(text) {}

  // Up to the first ";", or white space behind the value (the ";" is forgotten at times), without
  // comments. White space around a "/" belongs to the value and is dropped.
  std::string ReadValue() {
    // The plain start of it, which is mostly all.
    const auto isPlain = [](char c) { return IsTokenCharacter(c) || c == '/'; };
    while (_next < _text.size() && isPlain(_text[_next])) ++_next;
    std::string value(_text.substr(0, _next));
    std::size_t depth = 0;
    bool space = false;
    for (; _next < _text.size(); ++_next) {
      const char c = _text[_next];
      if (depth == 0 && c == ';') break;
      if (c == '(') ++depth;
      if (depth > 0) {
        if (c == ')') --depth;
      } else if (IsAsciiWhiteSpace(c)) {
        space = true;
      } else {
        if (space && !value.empty() && c != '/' && value.back() != '/') break;
        space = false;
        if (c != '"') value.push_back(c);
      }
    }
    return value;
  }

  // The next parameter; false at the end. Text without "=" is passed over.
  bool ReadParameter(RawParameter& out) {
    while (_next < _text.size()) {
      const char c = _text[_next];
      if (c == ';' || IsAsciiWhiteSpace(c)) {
        ++_next;
        continue;
      }
      const std::size_t stop = std::min(_text.find_first_of("=;", _next), _text.size());
      const std::string_view name = Trim(_text.substr(_next, stop - _next));
      _next = stop;
      if (stop == _text.size() || _text[stop] == ';') continue;
      ++_next;
      out = RawParameter();
      out.name = parvane::platform::ToLowerAscii(name);
      if (name.find('*') != name.npos) SplitName(out);
      out.value = ReadParameterValue();
      // What follows white space here is a parameter whose ";" was forgotten.
      if (out.name == "charset" && !out.encoded) {
        out.value.resize(std::min(out.value.find_first_of(" \t"), out.value.size()));
      }
      return true;
    }
    return false;
  }

 private:
  // "filename*1*" is section 1 of filename, percent-encoded.
  static void SplitName(RawParameter& out) {
    std::string& name = out.name;
    if (name.ends_with('*')) {
      out.encoded = true;
      name.pop_back();
    }
    const std::size_t star = name.rfind('*');
    if (star != std::string::npos && star + 1 < name.size() && name.size() - star <= 7 &&
        std::all_of(name.begin() + static_cast<std::ptrdiff_t>(star) + 1, name.end(),
                    [](char c) { return c >= '0' && c <= '9'; })) {
      out.sectioned = true;
      for (const char c : std::string_view(name).substr(star + 1)) {
        out.section = out.section * 10 + static_cast<std::uint32_t>(c - '0');
      }
      name.resize(star);
    }
  }

  std::string ReadParameterValue() {
    while (_next < _text.size() && IsAsciiWhiteSpace(_text[_next])) ++_next;
    if (_next < _text.size() && _text[_next] == '"') return ReadQuoted();
    const std::size_t stop = std::min(_text.find(';', _next), _text.size());
    std::string value(Trim(_text.substr(_next, stop - _next)));
    _next = stop;
    return value;
  }

  // A backslash escapes only a quote or a backslash: old mailers write plain Windows paths. In
  // raw ISO-2022-JP text both are parts of characters.
  std::string ReadQuoted() {
    std::string value;
    const std::size_t start = ++_next;
    while (_next < _text.size() && (IsTokenCharacter(_text[_next]) || _text[_next] == '=')) ++_next;
    value = _text.substr(start, _next - start);
    for (; _next < _text.size() && _text[_next] != '"'; ++_next) {
      if (_text[_next] == '\x1B') {
        const std::size_t end = EndOfEscapedText();
        value.append(_text.substr(_next, end - _next));
        _next = end;
      }
      if (_text[_next] == '\\' && _next + 1 < _text.size() &&
          (_text[_next + 1] == '"' || _text[_next + 1] == '\\')) {
        ++_next;
      }
      value.push_back(_text[_next]);
    }
    _next = std::min(_text.find(';', _next), _text.size());
    return value;
  }

  // The last byte of ESC "(" and a letter behind text that begins with ESC "$"; _next otherwise.
  std::size_t EndOfEscapedText() {
    if (_text.substr(_next, 2) != "\x1B$") return _next;
    if (_escapeEnd < _next) _escapeEnd = _text.find("\x1B(", _next);
    return _escapeEnd == std::string_view::npos || _escapeEnd + 2 >= _text.size() ? _next
                                                                                  : _escapeEnd + 2;
  }

  std::string_view _text;
  std::size_t _next = 0;
  std::size_t _escapeEnd = 0;  // the first ESC "(" at or after _next, when last looked for
};

// The sections [first, last) of one parameter, in the order of their numbers, put together.
Parameter Assemble(std::vector<RawParameter>::const_iterator first,
                   std::vector<RawParameter>::const_iterator last, std::string_view charset) {
  Parameter whole;
  whole.name = first->name;
  // The first section names the charset for all; a section that is not percent-encoded joins in
  // as if it were.
  const bool anyEncoded = std::any_of(first, last, [](const auto& p) { return p.encoded; });
  for (auto part = first; part != last; ++part) {
    if (!anyEncoded || part->encoded) {
      whole.value += part->value;
      continue;
    }
    for (const char c : part->value) {
      if (c == '%' || c == '\'') {
        whole.value += c == '%' ? "%25" : "%27";
      } else {
        whole.value += c;
      }
    }
  }
  if (anyEncoded) {
    whole.extended = true;
    whole.value = Tessary::ContentCoding::DecodeExtendedParameter(whole.value, charset);
  }
  return whole;
}

}  // namespace

ContentField::ContentField(std::string_view text, std::string_view charset) {
  FieldReader reader(text);
  _value = reader.ReadValue();
  std::vector<RawParameter> sections;
  RawParameter raw;
  while (reader.ReadParameter(raw)) {
    if (raw.sectioned || raw.encoded) {
      sections.push_back(std::move(raw));
    } else {
      _parameters.push_back({std::move(raw.name), std::move(raw.value), false});
    }
  }
  if (sections.empty()) return;
  std::stable_sort(sections.begin(), sections.end(), [](const auto& a, const auto& b) {
    return a.name != b.name ? a.name < b.name : a.section < b.section;
  });
  std::vector<Parameter> extended;
  for (auto first = sections.cbegin(); first != sections.cend();) {
    const auto last =
        std::find_if(first, sections.cend(), [&](const auto& p) { return p.name != first->name; });
    extended.push_back(Assemble(first, last, charset));
    first = last;
  }
  _parameters.insert(_parameters.begin(), std::make_move_iterator(extended.begin()),
                     std::make_move_iterator(extended.end()));
}

const Parameter* ContentField::Find(std::string_view name) const {
  const Parameter* found = nullptr;
  for (const Parameter& parameter : _parameters) {
    if (parameter.name != name) continue;
    if (!parameter.value.empty()) return &parameter;
    if (found == nullptr) found = &parameter;
  }
  return found;
}

std::string_view ContentField::Get(std::string_view name) const {
  const Parameter* parameter = Find(name);
  return parameter == nullptr ? std::string_view() : std::string_view(parameter->value);
}

}  // namespace Tessary
