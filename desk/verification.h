// What a verification has found: the messages that should be there, those that are, and the
// account of the sources.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "desk/conversion_record.h"
#include "desk/exit_code.h"
#include "moves/comparison.h"
#include "platform/status.h"

namespace parvane::desk {

struct Verification {
  std::vector<std::u16string> psts;
  std::vector<std::u16string> manifests;  // that stood in for sources
  ConversionRecord record;                // of the sources; its error is that of the whole
  moves::Comparison comparison;
  std::uint64_t there = 0;  // messages in the PSTs
  std::vector<moves::Finding> findings;
  // Of extra messages, by their place; not of more than are listed.
  std::unordered_map<std::uint32_t, moves::MessageName> extras;
  std::vector<std::string> unreadable;  // in the PSTs, in words
  std::uint64_t unreadableTotal = 0;
  // Sources were given, and all of them and of the PSTs has been read.
  bool compared = false;

  // Nothing when its name is not known.
  const moves::MessageName* NameOf(const moves::Finding& finding) const {
    if (finding.kind != moves::FindingKind::kExtra) return comparison.NameOf(finding);
    const auto found = extras.find(finding.place);
    return found == extras.end() ? nullptr : &found->second;
  }
};

// 0 only when all that the sources hold has been read, and is there as it should be. What is there
// beside it says nothing about that.
ExitCode Outcome(const Verification& verification);

// Both for standard output. In words: a line for each folder, the totals, then what is not as it
// should be, some of each kind.
std::string VerificationInWords(const Verification& verification);
void VerificationAsJson(const Verification& verification,
                        const std::function<void(std::string_view)>& take);

}  // namespace parvane::desk
