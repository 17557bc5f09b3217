// The file ".mh_sequences" of an MH folder: which of its messages, that are files named by numbers,
// are marked with what.
//
//   file     := (name ":" (blank* range)* line end)*     a line that begins with a blank goes on
//   range    := number ("-" number)?                     with the one before it
//   name     := unseen | flagged | replied | forwarded | other
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/message_state.h"

namespace parvane::sources {

class MhSequences {
 public:
  static MhSequences Parse(std::string_view file);

  // Adds what is known of the message to `state`: one that is in no sequence was read.
  void Read(std::uint32_t number, engine::MessageState& state) const;

 private:
  enum Mark : std::size_t { kUnseen, kFlagged, kReplied, kForwarded, kMarks };
  static constexpr std::array<std::string_view, kMarks> kNames = {"unseen", "flagged", "replied",
                                                                  "forwarded"};
  using Range = std::pair<std::uint32_t, std::uint32_t>;  // from, to

  void AddRanges(std::string_view text, std::vector<Range>& ranges) const;
  bool Has(Mark mark, std::uint32_t number) const;

  std::array<std::vector<Range>, kMarks> _ranges;  // sorted, apart from each other
};

}  // namespace parvane::sources
