// The parts of the page that tells what became of the mail, desk/page, as they are in the program.
#pragma once

#include <span>

#include "platform/embedded_file.h"

namespace parvane::desk {

std::span<const platform::EmbeddedFile> PageFiles();

}  // namespace parvane::desk
