#include "cli/logs.h"

namespace parvane::cli {
namespace {

using platform::Status;

Status OpenOne(std::u16string_view path, std::unique_ptr<TextFile>& file) {
  if (path.empty()) return {};
  auto created = TextFile::Create(path);
  if (!created.ok()) return created.status().WithContext("log");
  file = std::move(created).value();
  return {};
}

void Line(TextFile* file, std::string_view line) {
  if (!file) return;
  file->Write(line);
  file->Write(std::string_view("\n"));
}

}  // namespace

Status Logs::Open(std::u16string_view briefPath, std::u16string_view detailedPath) {
  if (Status status = OpenOne(briefPath, _brief); !status.ok()) return status;
  return OpenOne(detailedPath, _detailed);
}

void Logs::Both(std::string_view line) {
  Line(_brief.get(), line);
  Line(_detailed.get(), line);
}

void Logs::Detailed(std::u16string_view text) {
  if (_detailed) _detailed->Write(text);
}

void Logs::Detailed(std::string_view line) { Line(_detailed.get(), line); }

void Logs::Brief(std::u16string_view text) {
  if (_brief) _brief->Write(text);
}

Status Logs::Flush() {
  Status first;
  for (TextFile* file : {_brief.get(), _detailed.get()}) {
    if (!file) continue;
    const Status status = file->Flush();
    if (first.ok() && !status.ok()) first = status.WithContext("log");
  }
  return first;
}

}  // namespace parvane::cli
