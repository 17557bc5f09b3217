#include "mapi/builtin/environment.h"

#include "mapi/options.h"

namespace parvane::mapi::builtin {

Environment& TheEnvironment() {
  static Environment environment;
  return environment;
}

platform::FileSystem& Files() {
  platform::FileSystem* files = CurrentBuiltinOptions().files;
  if (files == nullptr) files = TheEnvironment().files;
  return files != nullptr ? *files : platform::FileSystem::Default();
}

}  // namespace parvane::mapi::builtin
