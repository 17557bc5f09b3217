// Decides about separators where more must speak for one than its first five bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/file.h"
#include "sources/mailbox_cutting.h"

namespace parvane::sources {

class StrictJudge final : public SeparatorJudge {
 public:
  // Whether a valid index of the mailbox has a message whose separator stands at an offset;
  // nothing: there is no such index. Called for lines in doubt only.
  using Index = std::function<std::optional<bool>(std::uint64_t offset)>;
  // A line that would be a separator by the standard rule, and may have seemed to be one: it has a
  // date, or nothing at all behind "From ".
  using Refused = std::function<void(const SeparatorCandidate& candidate)>;

  // `mailbox`: the file, for second looks; null where there is none to look into.
  StrictJudge(std::unique_ptr<platform::RandomAccessFile> mailbox, Index index, Refused refused);

  void Begins(std::string_view line) override;
  bool Ends(const SeparatorCandidate& candidate) override;

 private:
  // The line lies within the body as a Content-Length gives it, and that length proves right: at
  // its end, an empty line between, stands a separator with a date, or the file ends.
  bool InsideProvenBody(const SeparatorCandidate& candidate);
  // 0: none.
  std::uint64_t ProvenEnd(const SeparatorCandidate& candidate);

  std::unique_ptr<platform::RandomAccessFile> _mailbox;
  Index _index;
  Refused _refused;
  bool _ofPatches = false;  // the file itself is a series of patches
  // The message whose body was looked at last, and where that body ends; 0: not proven.
  std::optional<std::uint64_t> _lookedAt;
  std::uint64_t _bodyEnd = 0;
};

}  // namespace parvane::sources
