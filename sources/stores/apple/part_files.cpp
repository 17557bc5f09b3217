#include "sources/stores/apple/part_files.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::sources {
namespace {

using platform::DirectoryEntry;
using platform::FileSystem;
using platform::Result;
using platform::Status;
using platform::StatusCode;

std::u16string Comparable(std::u16string_view name) {
  return platform::FoldCase(platform::ComposeAccents(name));
}

// Of several the one that has the part's name. The only one is it, whatever its name: names are
// cut, translated ("Mail-Anhang.png") or given an extension on their way to the disk.
Result<std::u16string> Choose(std::vector<DirectoryEntry> entries, const std::u16string& name) {
  std::erase_if(entries, [](const DirectoryEntry& entry) {
    return entry.kind != platform::FileKind::kFile || entry.name.starts_with(u'.');
  });
  if (entries.size() == 1) return entries.front().name;
  if (entries.empty()) return Status(StatusCode::kNotFound, "it was never downloaded");
  const std::u16string wanted = Comparable(name);
  const auto named = std::ranges::find_if(
      entries, [&](const DirectoryEntry& entry) { return Comparable(entry.name) == wanted; });
  if (named == entries.end())
    return Status(StatusCode::kNotFound, "several files are in its place, none of its name");
  return named->name;
}

Result<PartBody> OpenBody(const std::u16string& path, bool encoded) {
  FileSystem& files = FileSystem::Default();
  auto bytes = platform::OpenInputStream(files, path);
  if (!bytes.ok()) return bytes.status();
  PartBody body;
  body.bytes = std::move(bytes).value();
  body.size = files.Inspect(path).size;
  body.encoded = encoded;
  return body;
}

}  // namespace

PartFiles::PartFiles(std::u16string_view messages, std::u16string_view message)
    : _attachments(platform::JoinPath(
          platform::JoinPath(platform::ParentOfPath(messages), u"Attachments"), message)),
      _encodedStem(platform::JoinPath(messages, message)) {}

Result<PartBody> PartFiles::Find(const LeftOutPart& part) const {
  const std::u16string number = platform::Utf8ToUtf16(part.number);
  const std::u16string folder = platform::JoinPath(_attachments, number);
  auto entries = FileSystem::Default().List(folder);
  if (entries.ok()) {
    const auto name = Choose(std::move(entries).value(), part.name);
    if (!name.ok()) return name.status();
    return OpenBody(platform::JoinPath(folder, *name), false);
  }
  if (entries.status().code() != StatusCode::kNotFound) return entries.status();
  // What is all of its message has no number in older versions.
  const std::u16string alone = part.number == "1" ? _encodedStem + u".emlxpart" : u"";
  for (const std::u16string& path : {_encodedStem + u"." + number + u".emlxpart", alone}) {
    if (!path.empty() && FileSystem::Default().FileExists(path)) return OpenBody(path, true);
  }
  return Status(StatusCode::kNotFound, "it was never downloaded");
}

std::uint64_t PartFiles::Size() const {
  std::uint64_t size = 0;
  const auto parts = FileSystem::Default().List(_attachments);
  if (!parts.ok()) return 0;
  for (const DirectoryEntry& part : *parts) {
    if (part.kind != platform::FileKind::kFolder) continue;
    const auto files = FileSystem::Default().List(platform::JoinPath(_attachments, part.name));
    if (!files.ok()) continue;
    for (const DirectoryEntry& file : *files) size += file.size;
  }
  // As base64 in lines.
  return size + size / 3 + size / 38;
}

}  // namespace parvane::sources
