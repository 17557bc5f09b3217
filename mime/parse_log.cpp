#include "mime/parse_log.h"

namespace Tessary {

void ParseLog::Open(const char* name) {
  if (_keeping == Keeping::kNothing) return;
  _open.push_back(name);
  Add(Kind::kOpen, name);
}

void ParseLog::Close() {
  if (_open.empty()) return;
  Add(Kind::kClose, _open.back());
  _open.pop_back();
}

void ParseLog::Say(const char* text) { Add(Kind::kLine, text); }

void ParseLog::Say(const char* text, int number) { Add(Kind::kNumber, text, number); }

void ParseLog::Data(const char* name, std::string_view value) { Add(Kind::kData, name, 0, value); }

void ParseLog::Clear() {
  _entries.clear();
  _values.clear();
  _open.clear();
}

void ParseLog::CloseAll() {
  while (!_open.empty()) Close();
}

void ParseLog::Add(Kind kind, const char* text, int number, std::string_view value) {
  if (_keeping == Keeping::kNothing || _entries.size() >= kMaxEntries) return;
  constexpr std::size_t kUsualEntries = 8;
  if (_entries.capacity() == 0) _entries.reserve(kUsualEntries);
  _entries.push_back({kind, text, number, _values.size(), value.size()});
  _values.append(value);
}

void ParseLog::AppendLines(std::size_t depth, std::string& text) const {
  for (const Entry& entry : _entries) {
    if (entry.kind == Kind::kClose && depth > 0) --depth;
    text.append(depth * 4, ' ');
    AppendLine(entry, text);
    if (entry.kind == Kind::kOpen) ++depth;
    text.push_back('\n');
  }
}

void ParseLog::AppendLine(const Entry& entry, std::string& text) const {
  switch (entry.kind) {
    case Kind::kOpen:
      text.append(entry.text).append(":");
      break;
    case Kind::kClose:
      text.append("--").append(entry.text);
      break;
    case Kind::kLine:
      text.append(entry.text);
      break;
    case Kind::kNumber: {
      const std::string_view form(entry.text);
      const std::size_t place = form.find("%d");
      text.append(form.substr(0, place));
      if (place != std::string_view::npos) {
        text.append(std::to_string(entry.number)).append(form.substr(place + 2));
      }
      break;
    }
    case Kind::kData:
      text.append(entry.text).append(": ").append(_values, entry.valueStart, entry.valueSize);
      break;
  }
}

}  // namespace Tessary
