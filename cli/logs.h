// The two logs of a conversion: the brief one (folders, failures, what was passed over, the
// summary) and the detailed one (the same and every message).
#pragma once

#include <memory>
#include <string_view>

#include "cli/text_file.h"
#include "engine/callbacks.h"

namespace parvane::cli {

class Logs {
 public:
  // An empty path means no such log.
  platform::Status Open(std::u16string_view briefPath, std::u16string_view detailedPath);

  // One line to both.
  void Both(std::string_view line);
  // Text as it stands to the detailed log.
  void Detailed(std::u16string_view text);
  // One line to the detailed log.
  void Detailed(std::string_view line);
  void Brief(std::u16string_view text);

  // What has been said so far outlives the program. The first error of either file.
  platform::Status Flush();

 private:
  std::unique_ptr<TextFile> _brief;
  std::unique_ptr<TextFile> _detailed;
};

}  // namespace parvane::cli
