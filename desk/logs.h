// The two logs of a conversion: the brief one (folders, failures, what was passed over, the
// summary) and the detailed one (the same and every message).
#pragma once

#include <memory>
#include <string_view>

#include "desk/text_file.h"
#include "engine/callbacks.h"

namespace parvane::desk {

class Logs {
 public:
  // An empty path means no such log.
  platform::Status Open(std::u16string_view briefPath, std::u16string_view detailedPath);

  // One line; what is in it of names cannot end it, nor reach a terminal as a command.
  void Both(std::string_view line);
  void Detailed(std::string_view line);
  // Lines as they stand, to both.
  void Lines(std::string_view text);
  // What the engine says, in lines that begin with words of its own. A line end anywhere else came
  // out of a name or a subject.
  void OfEngine(std::u16string_view text, bool brief, bool detailed);

  // What has been said so far outlives the program. The first error of either file.
  platform::Status Flush();

 private:
  std::unique_ptr<TextFile> _brief;
  std::unique_ptr<TextFile> _detailed;
};

}  // namespace parvane::desk
