// The entry points of the built-in Extended MAPI. Only a program's start-up calls this, and links
// what is behind it.
#pragma once

#include "mapi/entry_points.h"

namespace parvane::mapi {

const EntryPoints& BuiltinEntryPoints();

}  // namespace parvane::mapi
