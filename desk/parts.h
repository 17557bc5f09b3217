// The PSTs that a conversion writes: one, or with --split one after the other. Each is claimed,
// written, closed, and has its name before the next is begun, so that whenever a run ends, all but
// the last are finished.
//
//   Take       the first one is held, or refused; nothing but its partial file has been made
//   Begin      it is there and takes mail
//   GoOn       it is ended, and the next is begun
//   End        the last one is closed and settled
//   TakeName   ... and has its name, if all went well
//
// Parts by size are numbered; with --append the last one that is there is gone on with. Those of
// years are begun by name (BeginYear), none before the sources have told which years there are.
//
// A part is only kept with mail in it, unless it is the only one. The record has an account of each
// (ConversionRecord::parts), and of what earlier runs left under the names of further ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/destination.h"
#include "desk/destination_claim.h"
#include "desk/mail_in_parts.h"
#include "desk/pst_writing.h"
#include "moves/part_filter.h"

namespace parvane::desk {

class Parts {
 public:
  // All must outlive it.
  Parts(const ConvertOptions& options, FolderPlan& plan, ConversionRecord& record, Witness& witness,
        Logs& logs, Progress& progress);
  ~Parts();
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;

  platform::Status Take(std::u16string_view nameInFolder);
  // What is written first, as Take settled it.
  const Destination& destination() const { return _destination; }
  // Where it is written; the destination, when nothing is held yet.
  const std::u16string& path() const;
  // Bytes of what an unfinished run has left there and Begin replaces.
  std::optional<std::uint64_t> leftover() const;

  // Whether an unfinished run is gone on with: what it has left in the PST that is written, and in
  // parts that are finished.
  bool resumes() const;
  // Whether the PST that is written had mail of the run that is gone on with.
  bool goesOn() const;
  const FoldersThere& there() const;
  // Those, and of a run that is repeated; once Begin was called.
  const MailInParts& finished() const { return _finished; }
  // Whether the PST that is written had such a folder before.
  bool Has(const std::vector<std::u16string>& path) const { return there().Contains(path); }

  // Each yields the top folder of the PST that takes mail now; null: the record says why there is
  // none.
  QuelmarMIMEEngineCommon::IAssetFolderMutable* Begin();
  QuelmarMIMEEngineCommon::IAssetFolderMutable* GoOn();
  QuelmarMIMEEngineCommon::IAssetFolderMutable* BeginYear(unsigned year);
  // Refuses years whose PSTs are in the way, before any is begun.
  platform::Status CheckYears(const std::vector<unsigned>& years) const;
  void End();
  void TakeName();
  // After something that nobody expected, `why`: the PST is let go as it is. False when there was
  // none yet.
  bool BreakOff(const std::string& why);

  // What holds back mail that the part does not take.
  moves::PartFilter& filter() { return _filter; }

 private:
  struct Part;

  ConvertOptions OptionsFor(const std::u16string& path) const;
  platform::Status TakePart(const std::u16string& path, std::u16string_view nameInFolder = {});
  QuelmarMIMEEngineCommon::IAssetFolderMutable* TakeAndBegin(const std::u16string& path);
  QuelmarMIMEEngineCommon::IAssetFolderMutable* Fail(const platform::Status& status);
  void EndPart();
  void CountPart();
  void NamePart(bool isWanted);
  void NoteOldParts();
  platform::Status LookIntoFinished();

  const ConvertOptions& _options;
  FolderPlan& _plan;
  ConversionRecord& _record;
  Witness& _witness;
  Logs& _logs;
  Progress& _progress;
  Destination _destination;
  std::u16string _base;     // what the parts are named after
  std::size_t _number = 1;  // of the part in hand
  std::unique_ptr<Part> _part;
  std::unique_ptr<Part> _before;            // the witness may ask it until the next is open
  std::uint64_t _written = 0;               // messages, in the parts before
  std::vector<std::uint64_t> _writtenOf;    // ... of each folder
  std::vector<std::u16string> _toLookInto;  // finished parts, when there is a MAPI
  std::size_t _looked = 0;                  // into so many of them
  MailInParts _finished;
  moves::PartFilter _filter;
};

}  // namespace parvane::desk
