// Every reason that the account of a conversion gives, once: as a code for programs, which never
// changes its meaning, and in words for people. A new kind is a new row here.
#pragma once

#include <array>
#include <cstddef>
#include <exception>
#include <string>
#include <string_view>

#include "carry/item_in_hand.h"
#include "carry/state_step.h"
#include "engine/source_observer.h"
#include "moves/item_filter.h"
#include "platform/status.h"

namespace parvane::desk {

// Why a message counts as failed.
enum class FailureKind {
  kNotParsed,
  kTooLarge,
  kNoMemory,
  kNotConverted,
  kBrokeOff,
  kNotSaved,
  kNotCommitted,
  kLargerThanPart,
};
inline constexpr std::size_t kFailureKinds = 8;

// Why a conversion could not finish, where no file says it by its status.
enum class RunProblem {
  kSourceNotOpened,
  kNoMailFound,
  kNoFolderChosen,
  kPstNotOpened,
  kPstNotRead,
  kOtherSources,
  kSourcesChanged,
  kPstNotWritten,
  kNameNotTaken,
  kFolderNotMade,
  kBrokeOff,
  kCountsDisagree,
};

struct Reason {
  std::string_view code;
  std::string_view text;
  std::string_view advice = {};  // what the owner of the mail can do about it; often nothing
};

// Of messages that are passed over: the key of their count in the report, and its line in the
// summary.
struct PassedOverWords {
  moves::Verdict why;
  std::string_view code;
  std::string_view text;
};
inline constexpr std::array<PassedOverWords, moves::kPassedOverReasons> kPassedOverWords = {
    {{moves::Verdict::kNotChosen, "notChosen", "Messages that were not chosen"},
     {moves::Verdict::kAlreadyThere, "alreadyThere",
      "Messages that were already there, and not written again"},
     {moves::Verdict::kDuplicate, "copiesLeftOut", "Copies of messages, left out"}}};

Reason ReasonOf(engine::SkipReason reason);
Reason ReasonOf(engine::SuspiciousSeparatorReason reason);
Reason ReasonOf(engine::IndexFault fault);
Reason ReasonOf(FailureKind kind);
// Without words, which come with the status.
std::string_view CodeOf(platform::StatusCode code);
std::string_view CodeOf(RunProblem problem);

// An exception that nobody expected, for people.
std::string InWords(const std::exception& error);

// Remarks are headed in the summary, marked in the log, and a list of their own in neither.
struct RemarkWords {
  std::string_view code;
  std::string_view logMark;
  std::string_view heading;
};
RemarkWords WordsOf(engine::RemarkKind kind);
// Whether reading a message is enough to know that a conversion would remark it. What repair loses
// it may put back, and parts only it looks into.
bool IsForetold(engine::RemarkKind kind);

// What was kept of messages' state: for the summary ("12 flagged") and for programs ("flagged").
struct StateWords {
  std::string_view code;
  std::string_view text;
};
StateWords WordsOf(carry::StateKind kind);
// The summary says nothing of what has no text: nearly every message has it.
StateWords WordsOf(carry::MailCount count);

// True when the reason means that mail is, or may be, left behind.
inline bool MeansMailLeftBehind(engine::SkipReason reason) {
  return !ReasonOf(reason).advice.empty();
}

}  // namespace parvane::desk
