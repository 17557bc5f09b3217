#include "cli/results.h"

#include "cli/console.h"
#include "desk/format.h"

namespace parvane::cli {
namespace {

using desk::WithThousands;

constexpr std::uint64_t kMostComplaints = 20;

}  // namespace

void Results::Write(std::string_view utf8) {
  _progress.Finish();
  WriteOutput(utf8);
}

void Results::Complain(const std::string& what) {
  if (++_complaints > kMostComplaints) return;
  _progress.Finish();
  WriteError(what);
}

bool Results::Finish() {
  _progress.Finish();
  if (_complaints > kMostComplaints)
    WriteError("and " + WithThousands(_complaints - kMostComplaints) + " more of the kind");
  if (FlushOutput()) return true;
  WriteError("standard output takes no more; what is there is not everything");
  return false;
}

}  // namespace parvane::cli
