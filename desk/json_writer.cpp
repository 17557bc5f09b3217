#include "desk/json_writer.h"

#include <utility>

#include <fmt/format.h>

#include "desk/format.h"
#include "platform/text.h"

namespace parvane::desk {

void JsonWriter::BeforeValue() {
  if (std::exchange(_afterKey, false) || _levels.empty()) return;
  if (!std::exchange(_levels.back().empty, false)) _text += ',';
  _text += '\n';
  _text.append(2 * _levels.size(), ' ');
}

JsonWriter& JsonWriter::Open(char open, char close) {
  BeforeValue();
  _text += open;
  _levels.push_back({close});
  return *this;
}

JsonWriter& JsonWriter::Close() {
  const Level level = _levels.back();
  _levels.pop_back();
  if (!level.empty) {
    _text += '\n';
    _text.append(2 * _levels.size(), ' ');
  }
  _text += level.close;
  if (_levels.empty()) _text += '\n';
  return *this;
}

JsonWriter& JsonWriter::Raw(std::string_view text) {
  BeforeValue();
  _text += text;
  return *this;
}

JsonWriter& JsonWriter::Key(std::string_view name) {
  String(name);
  _text += ": ";
  _afterKey = true;
  return *this;
}

JsonWriter& JsonWriter::String(std::u16string_view text) {
  return String(platform::Utf16ToUtf8(text));
}

JsonWriter& JsonWriter::String(std::string_view utf8) {
  if (!platform::IsValidUtf8(utf8)) return String(platform::Utf8ToUtf16(utf8));
  BeforeValue();
  _text += '"';
  for (std::size_t at = 0; at < utf8.size(); ++at) {
    switch (const char c = utf8[at]) {
      case '"':
        _text += "\\\"";
        break;
      case '\\':
        _text += "\\\\";
        break;
      case '\n':
        _text += "\\n";
        break;
      case '\r':
        _text += "\\r";
        break;
      case '\t':
        _text += "\\t";
        break;
      default:
        if (c >= ' ' && c < '\x7F') {
          _text += c;
          break;
        }
        // Controls of any kind are escaped, for JSON that is read on a terminal.
        const Character character = FirstCharacter(utf8.substr(at));
        if (character.control) {
          _text += fmt::format("\\u{:04x}", static_cast<unsigned>(character.value));
        } else {
          _text.append(utf8, at, character.bytes);
        }
        at += character.bytes - 1;
    }
  }
  _text += '"';
  return *this;
}

JsonWriter& JsonWriter::Number(std::uint64_t value) { return Raw(fmt::format("{}", value)); }
JsonWriter& JsonWriter::Seconds(std::uint64_t milliseconds) {
  return Raw(fmt::format("{}.{:03}", milliseconds / 1000, milliseconds % 1000));
}
JsonWriter& JsonWriter::Bool(bool value) { return Raw(value ? "true" : "false"); }
JsonWriter& JsonWriter::Null() { return Raw("null"); }

std::string JsonWriter::Take() { return std::exchange(_text, {}); }

}  // namespace parvane::desk
