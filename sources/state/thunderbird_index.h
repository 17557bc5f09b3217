// The index (".msf") that stands beside a mailbox of Thunderbird: which messages the folder has,
// where in the mailbox they stand, and what they are marked with. The text is Mork
// (sources/state/mork/).
//
// Memory: some 230 bytes a message at most, whatever the size of the file (two million: 460 MB); it
// is read up to three times, for the changes that do not count, the rows, and the values that the
// rows refer to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/status.h"
#include "sources/state/mork/mork_stream.h"

namespace parvane::sources {

// As an index writes it, without the brackets.
std::uint64_t HashOfMessageId(std::string_view id);

class ThunderbirdIndex {
 public:
  static constexpr std::uint64_t kNowhere = ~std::uint64_t{0};
  // More messages than a folder of a PST takes; an index with more is not used.
  static constexpr std::size_t kMostRows = 2'000'000;

  struct Row {
    std::uint64_t offset = kNowhere;  // in the mailbox, of its separator line
    std::uint64_t idHash = 0;         // 0: it has none
    std::uint32_t size = 0;           // without the separator and the empty line behind; 0: unknown
    std::uint32_t received = 0;       // seconds since 1970; 0: unknown
    std::uint32_t flags = 0;          // of X-Mozilla-Status and -Status2 together
    std::uint32_t keywords = 0;       // which of those below
    std::uint8_t priority = 0;        // 2 lowest ... 6 highest; 0 and 1: none
    std::uint8_t label = 0;           // 1 to 5, of before there were tags
    std::optional<bool> junk;
  };

  struct Folder {
    std::optional<std::uint64_t> mailboxSize;  // when the index was written
    bool onServer = false;                     // the mailbox is a copy of what a server has
  };

  // kCorrupt for what is no such index, kTooBig.
  static platform::Result<ThunderbirdIndex> Read(const mork::Opener& open);

  // Sorted by offset, those without one last.
  const std::vector<Row>& rows() const { return _rows; }
  const Folder& folder() const { return _folder; }
  std::string_view KeywordsOf(const Row& row) const { return _keywords[row.keywords]; }

  // Null when there is none.
  const Row* At(std::uint64_t offset) const;
  std::vector<const Row*> WithMessageId(std::uint64_t idHash, std::size_t most) const;

 private:
  friend class IndexBuilder;

  std::vector<Row> _rows;
  std::vector<std::pair<std::uint64_t, std::uint32_t>> _byId;  // sorted
  std::vector<std::string> _keywords = {{}};
  Folder _folder;
};

// True when the index lists messages; false also when it cannot be read.
bool IndexListsMessages(const mork::Opener& open);
// Of a file.
mork::Opener OpenerOf(std::u16string path);

}  // namespace parvane::sources
