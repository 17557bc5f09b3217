#include "app/start_file.h"

#include <span>

#include "app/instance.h"
#include "platform/browser.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::app {
namespace {

using platform::FileSystem;
using platform::Status;

platform::Result<std::u16string> StartFile() {
  auto folder = platform::FolderForBoxedBrowser();
  if (!folder) {
    auto own = OwnFolder();
    if (!own.ok()) return own.status();
    folder = std::move(own).value();
  }
  return platform::JoinPath(*folder, u"parvane-window.html");
}

}  // namespace

Status ShowPage(const std::string& address) {
  if (!platform::OthersReadArguments())
    return platform::OpenInBrowser(platform::Utf8ToUtf16(address));
  const auto file = StartFile();
  if (!file.ok()) return file.status();
  (void)FileSystem::Default().Remove(*file);
  const std::string page =
      "<!doctype html><meta charset=\"utf-8\"><meta name=\"referrer\" content=\"no-referrer\">"
      "<meta http-equiv=\"refresh\" content=\"0; url=" +
      address + "\"><title>Parvane</title>\n";
  const auto bytes = std::as_bytes(std::span(page));
  if (Status written = FileSystem::Default().AppendPrivate(*file, std::span(&bytes, 1));
      !written.ok())
    return written;
  return platform::OpenInBrowser(*file);
}

void RemoveStartFile() {
  if (!platform::OthersReadArguments()) return;
  if (const auto file = StartFile(); file.ok()) (void)FileSystem::Default().Remove(*file);
}

}  // namespace parvane::app
