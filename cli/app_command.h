// parvane app
#pragma once

#include "app/app.h"

namespace CLI {
class App;
}

namespace parvane::cli {

void DescribeApp(CLI::App& command, app::Options& options);

}  // namespace parvane::cli
