#include "sources/stores/apple/message_list.h"

#include <algorithm>
#include <set>
#include <tuple>

#include "platform/path.h"
#include "sources/stores/apple/emlx_name.h"
#include "sources/stores/apple/part_files.h"

namespace parvane::sources {

void MessageList::AddDirectory(std::u16string_view path, std::u16string_view below,
                               const Entries& entries) {
  std::set<std::u16string> complete;
  const auto forEach = [&](auto take) {
    for (const platform::DirectoryEntry& entry : entries) {
      if (entry.kind != platform::FileKind::kFile || entry.name.starts_with(u'.')) continue;
      const EmlxName name(entry.name);
      if (name.isMessage) take(entry, name);
    }
  };
  bool partials = false;
  forEach([&](const auto&, const EmlxName& name) { partials |= name.partial; });
  if (partials) {
    forEach([&](const auto&, const EmlxName& name) {
      if (!name.partial) complete.insert(name.base);
    });
  }
  forEach([&](const platform::DirectoryEntry& entry, const EmlxName& name) {
    if (name.partial && complete.contains(name.base)) return;
    const std::uint64_t beside = name.partial ? PartFiles(path, name.base).Size() : 0;
    _messages.push_back({name.number, _directories.size(), entry.size + beside, entry.name});
  });
  _directories.emplace_back(below);
}

void MessageList::AddTo(QuelmarMIMEEngineCommon::MessageFileFolder& folder) {
  const auto key = [](const Message& message) {
    return std::tie(message.number, message.directory, message.name);
  };
  std::ranges::sort(_messages, {}, key);
  for (const Message& message : _messages) {
    const std::u16string& below = _directories[message.directory];
    folder.AddFile(below.empty() ? message.name : platform::JoinPath(below, message.name),
                   message.size);
  }
}

}  // namespace parvane::sources
