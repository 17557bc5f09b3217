#include "mapi/options.h"

namespace parvane::mapi {
namespace {

BuiltinOptions& Options() {
  static BuiltinOptions options;
  return options;
}

}  // namespace

void SetBuiltinOptions(const BuiltinOptions& options) { Options() = options; }
const BuiltinOptions& CurrentBuiltinOptions() { return Options(); }

}  // namespace parvane::mapi
