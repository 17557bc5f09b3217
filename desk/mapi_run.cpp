#include "desk/mapi_run.h"

#include <fmt/format.h>

#include "desk/pst_account.h"
#include "factory/store_factory.h"
#include "mapi/com_pointer.h"
#include "mapi/profiles.h"
#include "mapi/system_entry_points.h"
#include "platform/path.h"

namespace parvane::desk {

using platform::Result;
using platform::Status;
using platform::StatusCode;
using QuelmarMIMEEngineCommon::MAPISystemUtilities;

namespace {

void DeleteLeftoverProfiles() {
  mapi::ComPointer<mapi::IProfAdmin> profiles;
  mapi::MAPIAdminProfiles(0, profiles.Put());
  if (!profiles) return;
  for (const char* name : {MAPISystemUtilities::TemporaryProfileName(), kListProfile})
    profiles->DeleteProfile(mapi::ToTString(name), 0);
}

}  // namespace

MapiRun::MapiRun(MapiChoice choice) {
  const std::int32_t result = MAPISystemUtilities::MAPIInitialize();
  if (result >= 0) {
    if (choice == MapiChoice::kOutlook) DeleteLeftoverProfiles();
    return;
  }
  std::string text = fmt::format("MAPI could not be started ({})", ResultText(result));
  if (choice == MapiChoice::kOutlook) {
    text += ". " + mapi::SystemMapiAdvice();
    mapi::SelectEntryPoints({});
  }
  _status = {StatusCode::kUnsupported, text};
}

MapiRun::~MapiRun() {
  if (_status.ok()) MAPISystemUtilities::MAPIUninitialize();
}

Result<OutlookTurn> OutlookTurn::Take() {
  auto lock = platform::UserLock::Take(
      platform::PathFromNative(MAPISystemUtilities::TemporaryProfileName()));
  if (lock.ok()) return OutlookTurn(std::move(lock).value());
  if (lock.status().code() != StatusCode::kLocked) return lock.status();
  return Status(
      StatusCode::kLocked,
      "another parvane is using Outlook's MAPI at this moment, and only one can: try again "
      "when it has finished");
}

}  // namespace parvane::desk
