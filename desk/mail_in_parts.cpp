#include "desk/mail_in_parts.h"

#include <algorithm>

#include "desk/pst_session.h"
#include "platform/path.h"

namespace parvane::desk {

using platform::Status;

using Path = std::vector<std::u16string>;

Status MailInParts::Add(std::u16string_view pst) {
  auto folders = FoldersThere::In(pst);
  if (!folders.ok()) return folders.status();
  _parts.push_back({std::u16string(pst), *std::move(folders)});
  return {};
}

std::uint64_t MailInParts::messages() const {
  std::uint64_t sum = 0;
  for (const Part& part : _parts) sum += part.folders.messages();
  return sum;
}

bool MailInParts::Contains(const Path& path) const {
  return std::ranges::any_of(_parts, [&](const Part& part) { return part.folders.Contains(path); });
}

Status MailInParts::AddTo(moves::MailThere& there, const Path& path) const {
  for (const Part& part : _parts) {
    const std::string* entryId = part.folders.EntryIdOf(path);
    if (!entryId) continue;
    auto session = PstSession::Open(part.pst);
    if (!session.ok()) return session.status();
    const auto folder = session->OpenFolder(*entryId);
    if (!folder) return MapiFailure(part.pst, "its folders cannot be read");
    if (Status added = there.Add(*folder); !added.ok())
      return added.WithContext(platform::PathForDisplay(part.pst));
  }
  return {};
}

}  // namespace parvane::desk
