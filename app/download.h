// A file that the browser is to save under its own name.
#pragma once

#include <string>
#include <string_view>

namespace parvane::app {

// The value of Content-Disposition (RFC 6266) for a stranger's file name: what could lead to
// another folder, hide the file, or make its name look like another one is taken out.
std::string SaveAs(std::string_view utf8Name);

}  // namespace parvane::app
