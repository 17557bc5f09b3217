#include "cli/mail_in_parts.h"

#include <algorithm>

#include "cli/pst_folders.h"
#include "cli/pst_session.h"
#include "platform/text.h"

namespace parvane::cli {

using platform::Status;
using platform::StatusCode;

namespace {

using Path = std::vector<std::u16string>;

// Looks for one folder.
class Finder : public PstFolderVisitor {
 public:
  Finder(const Path& path, moves::MailThere& there) : _path(path), _there(there) {}

  bool Visit(const Path& path, mapi::IMAPIFolder& folder) override {
    const bool isIt = std::ranges::equal(
        path, _path, [](const auto& a, const auto& b) { return platform::EqualsIgnoreCase(a, b); });
    if (isIt) _status = _there.Add(folder);
    return !isIt;
  }
  void Unreadable(const std::string& what) override { _status = {StatusCode::kCorrupt, what}; }

  const Status& status() const { return _status; }

 private:
  const Path& _path;
  moves::MailThere& _there;
  Status _status;
};

}  // namespace

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
    if (!part.folders.Contains(path)) continue;
    auto session = PstSession::Open(part.pst);
    if (!session.ok()) return session.status();
    Finder finder(path, there);
    if (Status walked = WalkFolders(*session, finder); !walked.ok()) return walked;
    if (!finder.status().ok()) return finder.status();
  }
  return {};
}

}  // namespace parvane::cli
