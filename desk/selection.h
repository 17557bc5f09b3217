// Which items of the sources a conversion copies, as its options say.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "desk/folders_there.h"
#include "desk/mail_in_parts.h"
#include "desk/options.h"
#include "engine/folders.h"
#include "moves/duplicates.h"
#include "moves/item_choice.h"
#include "moves/item_filter.h"
#include "moves/mail_there.h"
#include "moves/year_filter.h"
#include "platform/status.h"

namespace parvane::desk {

class Selection : public moves::ItemFilter {
 public:
  explicit Selection(const ConvertOptions& options) : _options(options), _choice(options.wanted) {}

  // The PST is one that an unfinished run has left: what is in it is the first of these sources'
  // mail, or nothing is added to it.
  void Resume(const FoldersThere& there) {
    _resumed = &there;
    _toMeet += there.messages();
  }
  // Further PSTs of the same mail, which are finished; they may become more meanwhile. `resumed`:
  // they are of the run that is gone on with.
  void LookInto(const MailInParts& parts, bool resumed) {
    _parts = &parts;
    if (resumed) _toMeet += parts.messages();
  }
  // Whether a folder may be made or opened; else there is a problem.
  bool MayMake(const std::vector<std::u16string>& path);

  // The items that come next go to the folder at this path, which is `target` (null: it is not made
  // yet), and are accounted for under this number. Where folders take turns, each begins any number
  // of times. Fails when what is there already cannot be read.
  platform::Status BeginFolder(std::size_t account, const std::vector<std::u16string>& path,
                               const QuelmarMIMEEngineCommon::IAssetFolderMutable* target);
  // No more items come from the folder.
  void EndFolder(std::size_t account);

  // Messages taken although nothing tells when they came.
  std::uint64_t undatedTaken() const { return _choice.undated(); }
  // An item was not let through for this reason, and no other will be.
  const platform::Status& problem() const { return _problem; }

  moves::Judgement Judge(QuelmarMIMEEngineCommon::IAsset& item) override;

  // Mail goes by its year too; null: it does not.
  void AskYears(moves::YearFilter* years) { _years = years; }

 private:
  void NoteOtherSources();
  bool LooksForMailThere() const { return _options.skipExisting || _options.resume; }

  const ConvertOptions& _options;
  moves::ItemChoice _choice;
  // Of the folders that have begun and not ended.
  std::map<std::size_t, moves::Duplicates> _duplicates;
  std::map<std::size_t, moves::MailThere> _there;
  moves::Duplicates* _duplicatesHere = nullptr;
  moves::MailThere* _thereHere = nullptr;
  const FoldersThere* _resumed = nullptr;
  const MailInParts* _parts = nullptr;
  moves::YearFilter* _years = nullptr;
  std::uint64_t _toMeet = 0;  // of the messages that are there, before the first that is not
  platform::Status _problem;
};

}  // namespace parvane::desk
