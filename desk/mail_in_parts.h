// The mail in those parts of a split conversion that are finished, and not written any more: what
// they have is there already, for a run that goes on or is repeated.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "desk/folders_there.h"
#include "moves/mail_there.h"
#include "platform/status.h"

namespace parvane::desk {

class MailInParts {
 public:
  // Looks into one more PST. MAPI runs.
  platform::Status Add(std::u16string_view pst);
  bool empty() const { return _parts.empty(); }
  // In all of them.
  std::uint64_t messages() const;
  bool Contains(const std::vector<std::u16string>& path) const;
  // Adds what they have in this folder. Fails when that cannot be read.
  platform::Status AddTo(moves::MailThere& there, const std::vector<std::u16string>& path) const;

 private:
  struct Part {
    std::u16string pst;
    FoldersThere folders;
  };
  std::vector<Part> _parts;
};

}  // namespace parvane::desk
