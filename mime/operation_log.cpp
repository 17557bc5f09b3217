#include "mime/operation_log.h"

namespace parvane::mime {

void OperationLog::Begin(const char* name) {
  _entries.clear();
  _open.clear();
  Open(name);
}

void OperationLog::End(bool success) {
  while (_open.size() > 1) Close();
  // The outcome is never dropped for want of room.
  _entries.push_back({Kind::kOutcome, success ? "Success" : "Failed.", 0, {}});
  if (!_open.empty()) {
    _entries.push_back({Kind::kClose, _open.back(), 0, {}});
    _open.pop_back();
  }
}

void OperationLog::Open(const char* name) {
  _open.push_back(name);
  Add(Kind::kOpen, name);
}

void OperationLog::Close() {
  if (_open.empty()) return;
  Add(Kind::kClose, _open.back());
  _open.pop_back();
}

void OperationLog::Say(const char* text) { Add(Kind::kLine, text); }

void OperationLog::Say(const char* text, int number) { Add(Kind::kNumber, text, number); }

void OperationLog::Data(const char* name, std::string_view value) {
  Add(Kind::kData, name, 0, value);
}

void OperationLog::Add(Kind kind, const char* text, int number, std::string_view value) {
  // Contexts stay paired: what closes is kept as long as its opening was.
  if (_entries.size() < kMaxEntries) _entries.push_back({kind, text, number, std::string(value)});
}

std::string OperationLog::Text() const {
  std::string text;
  std::size_t depth = 0;
  for (const Entry& entry : _entries) {
    if (entry.kind == Kind::kClose && depth > 0) --depth;
    text.append(depth * 4, ' ');
    switch (entry.kind) {
      case Kind::kOpen:
        text.append(entry.text).append(":");
        ++depth;
        break;
      case Kind::kClose:
        text.append("--").append(entry.text);
        break;
      case Kind::kLine:
      case Kind::kOutcome:
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
        text.append(entry.text).append(": ").append(entry.value);
        break;
    }
    text.push_back('\n');
  }
  return text;
}

}  // namespace parvane::mime
