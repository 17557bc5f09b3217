#include "desk/logs.h"

#include <algorithm>

#include "desk/format.h"
#include "platform/text.h"

namespace parvane::desk {
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
  std::string text;
  AppendPrintable(text, line);
  file->Write(text += '\n');
}

constexpr std::string_view kEngineLines[] = {"From : ", "Date : ", "Subject : ", "ERROR : "};

bool BeginsEngineLine(std::string_view line) {
  return std::ranges::any_of(kEngineLines,
                             [&](std::string_view start) { return line.starts_with(start); });
}

std::string EngineLines(std::u16string_view text) {
  const std::string utf8 = platform::Utf16ToUtf8(text);
  std::string lines, breaks;
  for (std::size_t from = 0, end = 0; from < utf8.size(); from = end + 1) {
    end = std::min(utf8.find('\n', from), utf8.size());
    std::string_view line = std::string_view(utf8).substr(from, end - from);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (from > 0) breaks += '\n';
    if (line.empty()) continue;
    lines += lines.empty() || BeginsEngineLine(line) ? breaks : " ";
    breaks.clear();
    AppendPrintable(lines, line);
  }
  return lines + breaks + '\n';
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

void Logs::Detailed(std::string_view line) { Line(_detailed.get(), line); }

void Logs::Lines(std::string_view text) {
  for (TextFile* file : {_brief.get(), _detailed.get()}) {
    if (file) file->Write(text);
  }
}

void Logs::OfEngine(std::u16string_view text, bool brief, bool detailed) {
  TextFile* const files[] = {brief ? _brief.get() : nullptr, detailed ? _detailed.get() : nullptr};
  if (!files[0] && !files[1]) return;
  const std::string lines = EngineLines(text);
  for (TextFile* file : files) {
    if (file) file->Write(lines);
  }
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

}  // namespace parvane::desk
