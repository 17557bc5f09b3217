// The person's own browser, started by a program that shows its page there.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/status.h"

namespace parvane::platform {

// Whether other users of this machine can read what a program is started with: then no address that
// holds a secret may be among it.
bool OthersReadArguments();

// A folder of the user's own that ends with the session where there is one, for what a program
// notes of itself while it runs. None when the user has no home.
std::optional<std::u16string> SessionFolder();

// Where browsers may be kept in a box of their own (snaps), which shows them the visible part of
// the home folder only: the home folder. Otherwise none: the browser reads what the user does.
std::optional<std::u16string> FolderForBoxedBrowser();

// Shows a file or an address in the default browser, which goes on by itself. Fails when there is
// none.
Status OpenInBrowser(std::u16string_view what);

// True when the program was started alone, by a double-click: its console is nobody else's and will
// close with it. False where there are no such consoles.
bool HasOwnConsole();
// Gives that console back; what is said to the standard streams from here on goes nowhere.
void LeaveConsole();
// Where nobody reads the standard streams: a message to be clicked away.
void ShowMessage(std::u16string_view text);

}  // namespace parvane::platform
