// What the built-in MAPI works on. Tests put something else in its place.
#pragma once

#include "platform/file.h"
#include "pstfile/store/pst_store.h"

namespace parvane::mapi::builtin {

struct Environment {
  platform::FileSystem* files = nullptr;  // null: the machine's own
  pstfile::StoreOptions storeOptions;     // sizeLimit is taken from BuiltinOptions
};

// Holds for the stores opened afterwards.
Environment& TheEnvironment();
platform::FileSystem& Files();

}  // namespace parvane::mapi::builtin
