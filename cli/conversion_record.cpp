#include "cli/conversion_record.h"

namespace parvane::cli {

using engine::SkipReason;
using engine::SuspiciousSeparatorReason;

std::string_view Describe(SkipReason reason) {
  switch (reason) {
    case SkipReason::kNotAnMbox:
      return "does not begin with \"From \", so it is no mailbox";
    case SkipReason::kUnreadable:
      return "could not be read";
    case SkipReason::kOtherExtension:
      return "begins like a mailbox but is not named like one";
    case SkipReason::kResourceForkCompanion:
      return "companion file of another system";
    case SkipReason::kOrphanSbd:
      return "subfolders whose own mailbox file is missing";
    case SkipReason::kSymbolicLinkLoop:
      return "leads back to a folder that is being read";
    case SkipReason::kTooDeep:
      return "nested too deeply";
    case SkipReason::kNotAFile:
      return "not a regular file";
  }
  return "passed over";
}

std::string_view Advice(SkipReason reason) {
  switch (reason) {
    case SkipReason::kUnreadable:
      return "check its permissions and convert it again";
    case SkipReason::kOtherExtension:
      return "convert it by itself: parvane convert --append FILE DEST.pst";
    case SkipReason::kOrphanSbd:
      return "make an empty file of the same name without .sbd beside it";
    case SkipReason::kTooDeep:
      return "convert the folder by itself";
    default:
      return {};
  }
}

bool MeansMailLeftBehind(SkipReason reason) { return !Advice(reason).empty(); }

std::string_view Describe(SuspiciousSeparatorReason reason) {
  switch (reason) {
    case SuspiciousSeparatorReason::kNoDate:
      return "no date behind \"From \"";
    case SuspiciousSeparatorReason::kNoEmptyLineBefore:
      return "no empty line before it";
  }
  return {};
}

}  // namespace parvane::cli
