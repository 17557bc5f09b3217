// The files of the page, app/page, as they are in the program.
#pragma once

#include <span>

#include "platform/embedded_file.h"

namespace parvane::app {

std::span<const platform::EmbeddedFile> PageFiles();

}  // namespace parvane::app
