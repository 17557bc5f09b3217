#include "platform/mail_client.h"

namespace parvane::platform {
namespace {

Status OnlyOnWindows(std::string_view what) {
  return {StatusCode::kUnsupported, std::string(what) + " exists on Windows only"};
}

}  // namespace

Result<SystemLibrary> SystemLibrary::Load(std::u16string_view) {
  return OnlyOnWindows("Outlook's MAPI");
}
SystemLibrary::Function SystemLibrary::Find(const char*) const { return nullptr; }

MailClient DefaultMailClient() { return {}; }

Result<UserLock> UserLock::Take(std::u16string_view) { return OnlyOnWindows("such a lock"); }
UserLock::~UserLock() = default;

}  // namespace parvane::platform
