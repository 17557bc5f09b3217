// Compares the messages that should be there with those that are.
//
// What is there comes first and is kept, some 64 bytes a message; what should be there passes by.
// A message that is in its folder just as it should be is settled at once. The others wait, and are
// paired at the end with what is left: by their content in another folder, by key, by Message-ID,
// and by what of them is the same. Copies are counted: of three that should be there and two that
// are, one is missing.
//
// Time is that of sorting, whatever the messages hold.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "moves/message_content.h"

namespace parvane::moves {

// Folders by number. Names that differ in case alone are one, as in a PST.
class FolderNumbers {
 public:
  using Path = std::vector<std::u16string>;
  std::uint32_t Of(const Path& path);
  const Path& PathOf(std::uint32_t number) const { return _paths[number]; }
  // Whether the one is where mail goes on when the other is full: "Inbox (2)" beside "Inbox".
  bool Continues(std::uint32_t next, std::uint32_t full) const;
  std::size_t size() const { return _paths.size(); }

 private:
  std::map<Path, std::uint32_t> _numbers;  // folded
  std::vector<Path> _paths;
};

enum class FindingKind : std::uint8_t { kMissing, kDifferent, kElsewhere, kExtra };
inline constexpr std::size_t kFindingKinds = 4;

inline constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);

struct Finding {
  FindingKind kind{};
  std::uint32_t folder = 0;    // where it should be; of an extra one: where it is
  std::uint64_t position = 0;  // in the source's folder, from 1; 0 of an extra one
  std::uint32_t name = kNone;  // see NameOf
  FieldSet different = 0;
  // Where it is, as folder and place (see AddThere); of a missing one: a copy of it that is there
  // for another. Or kNone.
  std::uint32_t foundIn = kNone;
  std::uint32_t place = 0;
};

struct FolderTally {
  std::uint64_t expected = 0;
  std::uint64_t same = 0;
  std::array<std::uint64_t, kFindingKinds> found{};  // by FindingKind
  std::uint64_t Of(FindingKind kind) const { return found[static_cast<std::size_t>(kind)]; }
};

class Comparison {
 public:
  FolderNumbers& folders() { return _folders; }
  const FolderNumbers& folders() const { return _folders; }

  // A message that is there. Places, by which it is named, only grow.
  void AddThere(std::uint32_t folder, std::uint32_t place, const ContentSummary& content);
  // All that is there is known; none may be added any more.
  void BeginExpecting();
  void Expect(std::uint32_t folder, std::uint64_t position, const ContentSummary& content,
              MessageName name);
  // Settles what waits. Findings by folder and position, extra ones last, by place.
  std::vector<Finding> Finish();
  // Null for extra ones, and where there were too many to remember.
  const MessageName* NameOf(const Finding& finding) const {
    return finding.name == kNone ? nullptr : &_names[finding.name];
  }
  // By folder number, after Finish.
  const std::vector<FolderTally>& tallies() const { return _tallies; }
  FolderTally Total() const;

 private:
  struct There : ContentSummary {
    std::uint32_t folder = 0;
    std::uint32_t place = 0;
    std::uint32_t settled = 0;  // of the first of a run of equal ones: how many of it
  };
  struct Waiting : ContentSummary {
    std::uint32_t folder = 0;
    std::uint32_t name = kNone;
    std::uint64_t position = 0;
  };
  using Key = std::pair<std::uint64_t, std::uint64_t>;  // the latter 0: not to be paired
  // What waits and what is left, by their places in the lists.
  struct Unpaired {
    std::vector<std::uint32_t> waiting, there;
    std::vector<Finding> findings;
  };

  FolderTally& TallyOf(std::uint32_t folder);
  std::deque<There>::iterator RunOf(std::uint32_t folder, std::uint64_t content);
  template <typename KeyOf>
  void Pair(Unpaired& unpaired, KeyOf keyOf);
  bool IsInPlace(const Waiting& waiting, const There& found) const;
  static Finding FindingOf(const Waiting& waiting);
  std::vector<Finding> Missing(const std::vector<std::uint32_t>& waiting) const;

  FolderNumbers _folders;
  std::vector<std::uint64_t> _counts;  // of messages that are there, by folder
  std::deque<There> _there;            // sorted by folder, content and place
  std::deque<Waiting> _waiting;        // in the order in which they came
  std::vector<MessageName> _names;
  std::size_t _nameBytes = 0;
  std::vector<FolderTally> _tallies;
};

}  // namespace parvane::moves
