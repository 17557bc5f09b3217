#include "desk/source_names.h"

#include "engine/file_kinds.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::desk {

std::u16string NameForSource(std::u16string_view path) {
  std::u16string name = engine::NameOfSource(path);
  if (platform::FileSystem::Default().FolderExists(path))
    return engine::IsMailboxFolder(name) ? platform::StemOfPath(name) : name;
  while (engine::IsNamedLikeAnArchive(name) && !platform::StemOfPath(name).empty())
    name = platform::StemOfPath(name);
  const std::u16string extension = platform::ExtensionOfPath(name);
  for (std::u16string_view mailbox : {u".mbox", u".mbx", u".mail", u".eml"}) {
    const std::u16string stem = platform::StemOfPath(name);
    if (platform::EqualsIgnoreCase(extension, mailbox) && !stem.empty()) return stem;
  }
  return name;
}

std::string ListOfSources(const std::vector<std::u16string>& sources) {
  std::string text;
  for (const std::u16string& source : sources)
    text += (text.empty() ? "" : ", ") + platform::PathForDisplay(source);
  return text;
}

std::u16string SeriesOf(std::u16string_view path) {
  if (!engine::IsNamedLikeAnArchive(path)) return {};
  const std::u16string stem = NameForSource(path);
  const std::size_t end = stem.find_last_not_of(u"0123456789");
  if (end == stem.npos || end + 1 == stem.size() || stem[end] != u'-') return {};
  return platform::JoinPath(platform::ParentOfPath(path), stem.substr(0, end));
}

}  // namespace parvane::desk
