// Verifies a Unicode PST file from first principles and says in plain words what is wrong with it.
//
//   class Printer : public FindingSink {
//     void OnFinding(const Finding& finding) override { Print(finding.code, finding.message); }
//   };
//   Printer printer;
//   auto summary = CheckFile(FileSystem::Default(), u"mail.pst", {}, printer);
//   if (summary.ok() && summary->clean()) ...
//
// What it looks at, from the bottom up:
//   - the header, its two check sums, the unused space behind it;
//   - every page of both B-trees and every block: place, type, signature, check sum, id; the order,
//     levels and key ranges of the trees;
//   - the reference count of every block, recomputed from everything that refers to it;
//   - the allocation maps against what is really used: leaks, overlaps, unmarked space, map pages;
//   - data trees, subnode trees, heaps, B-trees on heaps, property contexts, tables;
//   - the store object, the name map, the nodes every store must have, the id counters;
//   - folders: tables against nodes in both directions, counts, every row cell by cell against its
//     object; messages: required properties, flags, sizes, recipients, attachments, embedded
//     messages to any depth the format is read to.
//
// The checker reads the file and nothing else: it shares byte codecs with the engine that wrote it,
// and no state. It never writes. A file being changed by someone else while it is checked gives
// findings that mean nothing.
//
// Cost. Time is linear in the file: every block is read once in file order and about once more when
// its content is examined. Memory is at most 64 MiB whatever the file's size, for a store of up to
// a million folders; bitmaps and counters that would be larger are worked off in several passes
// over the B-trees (one for each 8 GiB of file and for each million blocks). A damaged file costs
// no more: every loop is bounded by the file's size, every descent by a depth, and contents shared
// beyond all reason are not followed. One made to harm can nest objects with very many subnodes,
// and so raise memory to some 300 MiB.
//
// Files by Outlook. Outlook itself leaves things behind that a new file should not have: space
// reserved by the page map of old versions, heap items nobody refers to, a message size in a row
// that was not brought up to date. Where a file bears the marks of having been opened by Outlook,
// such findings have the severity kNote, and a file with nothing else is clean.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "platform/file.h"
#include "platform/status.h"

namespace parvane::pstfile {

enum class Severity : std::uint8_t {
  kNote,     // harmless, and known from files by Outlook; the file still counts as clean
  kWarning,  // a reader sees nothing wrong or works around it; a repair tool would object
  kError,    // structure or content is damaged, lost or contradictory
};

struct Finding {
  Severity severity = Severity::kError;
  // What kind of fault, for programs: lower-case words joined by hyphens, such as "block-crc". A
  // code keeps its meaning for good; the list is in pstfile/check/finding_codes.h.
  std::string_view code;
  // For people: structure, place (file offsets and ids in hexadecimal), found and expected. UTF-8,
  // one line, no full stop.
  std::string message;
};

class FindingSink {
 public:
  virtual ~FindingSink() = default;
  // Called during the check, in the order of discovery. The finding is valid during the call.
  virtual void OnFinding(const Finding& finding) = 0;
  // Called after every block and node: so many bytes of the file's size are done, a byte by half
  // when its block has been checked and by half when its content has.
  virtual void OnProgress(std::uint64_t /*done*/, std::uint64_t /*size*/) {}
};

struct CheckOptions {
  // Findings of one code that reach the sink; the rest are only counted (CheckSummary::counts).
  // One damaged page can be behind thousands of findings.
  std::uint64_t findingsPerCode = 100;
  // Also deliver findings of severity kNote.
  bool notes = false;
  // The file may have been left by a writer that was interrupted: that it was not closed, that it
  // is longer than its header says, that maps which do not count are half written and that a whole
  // copy stands for a torn header are notes then. Nothing of this means that mail is missing.
  bool acceptUnclosed = false;
};

struct CheckSummary {
  std::uint64_t errors = 0;
  std::uint64_t warnings = 0;
  std::uint64_t notes = 0;
  // How often each code was found, whether delivered or not; notes apart.
  std::map<std::string, std::uint64_t, std::less<>> counts;

  // What was examined.
  std::uint64_t fileSize = 0;
  std::uint64_t pages = 0;
  std::uint64_t blocks = 0;
  std::uint64_t nodes = 0;
  std::uint64_t folders = 0;         // search folders apart
  std::uint64_t messages = 0;        // rows of contents tables
  std::uint64_t hiddenMessages = 0;  // rows of associated contents tables
  std::uint64_t embeddedMessages = 0;
  std::uint64_t attachments = 0;
  std::uint64_t recipients = 0;

  bool clean() const { return errors == 0 && warnings == 0; }
};

// Checks the file at `path`. Fails only when there is nothing to check: as the file system does
// when it cannot be opened or read, kUnsupported for a PST of another version (the 32-bit format,
// 4 KiB pages) or an offline store, kCorrupt for a file that is no PST at all. Every other damage
// is a finding.
platform::Result<CheckSummary> CheckFile(platform::FileSystem& files, std::u16string_view path,
                                         const CheckOptions& options, FindingSink& sink);

// Whether mail can be added to the file at `path`: looks at what leads there, the store object, the
// name map, the visible folders with their tables, and in files up to 256 MiB at all B-tree pages
// and the allocation maps. kCorrupt with the first error found, in the words of a Finding. What an
// interrupted writer left is accepted, and what the next one sets right by itself: warnings, low
// counters. Never writes; time is in proportion to the number of messages and folders, not to the
// bytes of mail, some 400 bytes to be read for each message.
platform::Status CheckBeforeAppend(platform::FileSystem& files, std::u16string_view path);

}  // namespace parvane::pstfile
