// What is to be done: sources, destination and how, as every front end says it.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "engine/label_use.h"
#include "engine/mailbox_wishes.h"
#include "factory/source_factory.h"
#include "moves/folder_glob.h"
#include "moves/item_choice.h"

namespace parvane::desk {

// Who writes and reads PSTs: this program, or the mail program of the system (Windows).
enum class MapiChoice { kBuiltin, kOutlook };
// Of which messages one copy is written.
enum class Dedup { kOff, kFolder, kAll };

// What comes along with a message beside what the conversion itself writes.
struct KeepChoice {
  bool state = true;      // read, answered, flagged, tagged...
  bool winmail = true;    // what is in a winmail.dat, in its place
  bool addresses = true;  // correspondents as the header names them
  bool headers = true;    // as they came
  bool dates = true;      // of messages without a usable one
  bool inlines = true;    // what the text shows in itself is no attachment beside it
  bool parts = true;      // those that would reach no property
  bool keys = true;       // by which a later run knows the message again
};

// Of every command that reads mail.
struct SourceOptions {
  std::vector<std::u16string> sources;      // at least one
  std::optional<factory::SourceKind> from;  // of all sources; none: look at each
  std::u16string name;                      // of the top folder; empty: from the source
  KeepChoice keep;
  bool skipDeleted = false;
  // Of the folders: those that match one of the former (all, if there is none) and none of the
  // latter.
  std::vector<moves::FolderGlob> folders, excluded;
  // Of those, just these and not what is below them; by the names on the way to each as reports
  // write them.
  std::optional<std::set<std::vector<std::string>>> onlyFolders;
  moves::Wanted wanted;  // of the messages; junk folders too
  engine::SeparatorRule separators = engine::SeparatorRule::kStandard;  // of mailboxes
  std::optional<engine::LabelUse> labels;  // none: folders, of exports of Gmail
};

// Into several PSTs.
struct SplitChoice {
  bool bySize = false;  // of sizeLimit
  bool byYear = false;  // of delivery
  explicit operator bool() const { return bySize || byYear; }
};

struct ConvertOptions : SourceOptions {
  std::u16string destination;  // empty: a scan that is about none
  MapiChoice mapi = MapiChoice::kBuiltin;
  bool append = false;
  bool overwrite = false;
  bool skipExisting = false;  // what the PST has already is not written again
  bool resume = false;        // go on with what a run has left that did not finish
  Dedup dedup = Dedup::kOff;
  std::u16string log;  // empty: none, here and below
  std::u16string detailedLog;
  std::u16string report;        // "-": by whoever runs it
  bool timings = false;         // of the stages of the work, into the record
  std::uint64_t sizeLimit = 0;  // bytes the PST may grow to; with `split`, each of them
  SplitChoice split;
};

struct VerifyOptions : SourceOptions {
  Dedup dedup = Dedup::kOff;  // as the conversion was asked for
};

}  // namespace parvane::desk
