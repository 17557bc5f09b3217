// The local window: a page in the person's own browser, served by this program on this machine only
// (docs/app.md).
#pragma once

namespace parvane::app {

struct Options {
  bool browser = true;         // open it; otherwise only say where the page is
  bool doubleClicked = false;  // with a console of its own, which goes when the page is there
};

// False in a program built without it (PARVANE_APP).
bool IsBuiltIn();

// Until the page is closed. The exit code of the command.
int RunApp(const Options& options);

}  // namespace parvane::app
