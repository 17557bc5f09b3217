// The stores of a Thunderbird profile: one for each account.
#pragma once

#include <string>
#include <vector>

#include "desk/profile_settings.h"
#include "desk/source_plan.h"
#include "platform/status.h"

namespace parvane::desk {

// Those below its Mail/ and ImapMail/, named as its settings name them. Accounts that lie
// elsewhere, or cannot be reached, are left behind.
platform::Status AddAccountsOfProfile(const std::u16string& profile, SourcePlan& plan);
// Those of one such folder.
void AddAccounts(const std::u16string& container, const std::vector<MailAccount>& accounts,
                 SourcePlan& plan);

}  // namespace parvane::desk
