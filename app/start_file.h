// How the browser learns the page's address without anybody else on the machine learning it: the
// arguments of a program can be read by all users, a file of the user's own by nobody else. Where
// arguments are private, the browser is given the address itself.
#pragma once

#include <string>

#include "platform/status.h"

namespace parvane::app {

// Opens the default browser at the page.
platform::Status ShowPage(const std::string& address);
// The page has been reached: the file goes.
void RemoveStartFile();

}  // namespace parvane::app
