#include "sources/stores/packed/recognition.h"

#include <algorithm>
#include <string>
#include <vector>

#include "archives/packing.h"
#include "mime/mime_header.h"
#include "platform/file.h"
#include "sources/stores/packed/joined_messages.h"
#include "sources/stores/packed/mailbox_series.h"

namespace parvane::sources {
namespace {

using platform::StatusCode;

class Nobody final : public SeriesWatcher {
  void NotRead(const std::u16string&, engine::SkipReason, const platform::Status&) override {}
};

// As far as its header is in the first bytes of the mailbox.
bool IsOfGmail(std::string_view mailbox) {
  const std::size_t end = mailbox.find('\n');
  if (!mailbox.starts_with("From ") || end == mailbox.npos) return false;
  if (!NumberOfGmail(mailbox.substr(0, end)).empty()) return true;
  Tessary::MimeHeader header;
  header.Load(mailbox.substr(end + 1));
  return header.Find("X-Gmail-Labels") != nullptr || header.Find("X-GM-THRID") != nullptr;
}

}  // namespace

platform::Result<PackedKind> LookAtPacked(std::u16string_view path) {
  const auto packing = archives::PackingOfFile(platform::FileSystem::Default(), path);
  if (!packing.ok()) return packing.status();
  if (!archives::IsReadHere(*packing)) {
    return platform::Status(StatusCode::kUnsupported, "cannot be read on this system: " +
                                                          std::string(archives::NameOf(*packing)));
  }
  Nobody nobody;
  const std::vector<std::u16string> files = {std::u16string(path)};
  MailboxSeries mailboxes(files, nobody);
  if (mailboxes.Next()) {
    const auto bytes = mailboxes.Stream().Buffer();
    if (IsOfGmail({bytes.data(), bytes.size()})) return PackedKind::kGmailExport;
  }
  return *packing == archives::Packing::kNone ? PackedKind::kNone : PackedKind::kArchive;
}

}  // namespace parvane::sources
