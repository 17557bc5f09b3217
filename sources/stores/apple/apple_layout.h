// What the names of Apple Mail's folders say.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file.h"

namespace parvane::sources {

using Entries = std::vector<platform::DirectoryEntry>;

// Of a mailbox's folder or file, as people see it.
std::u16string MailboxName(std::u16string_view name);

// What an account's folder is called: for "IMAP-user@host" its address, for "Mailboxes", where what
// belongs to no account is kept, "On My Mac"; other names stay. Of one named by a number (a UUID)
// the account's name stands only in the system's database of accounts: it gets the number's
// beginning.
std::u16string AccountName(std::u16string_view folder);
// The folder of one account among others says nothing that its reader knows.
bool IsNamelessAccount(std::u16string_view folder);

// Holds no mail, whatever it holds: the program's settings and indexes, attachments (which are
// reached through their messages), what is hidden.
bool IsNoMail(std::u16string_view folder);

// "V2", "V10".
bool IsVersion(std::u16string_view folder);
// Of those in `directory` the newest that holds an account, else the newest; none: there are none.
std::optional<std::u16string> NewestVersion(std::u16string_view directory, const Entries& entries);

bool HoldsMailboxes(const std::u16string& directory);
// A file that is a message, or goes with messages or mailboxes: what else is there, people put
// there.
bool IsProgramsOwn(std::u16string_view file);

// Of the folders in `directory` those that hold mailboxes themselves: the accounts.
std::vector<std::u16string> AccountsIn(std::u16string_view directory, const Entries& entries);
}  // namespace parvane::sources
