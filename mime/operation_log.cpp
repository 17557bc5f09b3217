#include "mime/operation_log.h"

namespace parvane::mime {

void OperationLog::Begin(const char* name) {
  _entries.clear();
  _values.clear();
  _open.clear();
  _operation = name;
  _outcome = Outcome::kNone;
}

void OperationLog::End(bool success) {
  while (!_open.empty()) Close();
  _outcome = success ? Outcome::kSuccess : Outcome::kFailure;
}

void OperationLog::Open(const char* name) {
  if (_keeping == Keeping::kNothing) return;
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
  if (_keeping == Keeping::kNothing || _entries.size() >= kMaxEntries) return;
  constexpr std::size_t kUsualEntries = 8;
  if (_entries.capacity() == 0) _entries.reserve(kUsualEntries);
  _entries.push_back({kind, text, number, _values.size(), value.size()});
  _values.append(value);
}

std::string OperationLog::Text() const {
  std::string text;
  if (_operation != nullptr) text.append(_operation).append(":\n");
  std::size_t depth = _operation != nullptr ? 1 : 0;
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
    text.push_back('\n');
  }
  // The outcome is never dropped for want of room.
  if (_outcome != Outcome::kNone) {
    text.append(4, ' ').append(_outcome == Outcome::kSuccess ? "Success\n" : "Failed.\n");
    text.append("--").append(_operation != nullptr ? _operation : "").append("\n");
  }
  return text;
}

}  // namespace parvane::mime
