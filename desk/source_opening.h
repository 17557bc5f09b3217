// Opens the stores of the sources and plans the folders that their mail goes to.
#pragma once

#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "desk/folder_plan.h"
#include "desk/options.h"
#include "desk/progress.h"
#include "desk/source_plan.h"
#include "desk/source_witness.h"
#include "engine/mailbox_wishes.h"
#include "engine/message_state.h"

namespace parvane::desk {

class SourceOpening {
 public:
  // All must outlive it.
  SourceOpening(const SourceOptions& options, ConversionRecord& record, SourceWitness& witness,
                Progress& progress)
      : _options(options),
        _record(record),
        _witness(witness),
        _progress(progress),
        _mailboxWishes{.separators = options.separators, .anyBeginning = true} {}

  // False when there is nothing to convert, or when the user has had enough; the record then says
  // which. What a source leaves behind, and one that holds no mail among others, is told.
  bool Open(const SourcePlan& sources);
  FolderPlan& plan() { return _plan; }

 private:
  using Store = QuelmarMIMEEngineCommon::IAssetStore;

  // Leaves out the folders that nobody wants.
  bool Choose();
  void TellOf(const SourcePlan& sources);
  bool OpenStore(const SourceStore& source);
  // A maildir without others in it is one folder, as an mbox is.
  void AddToPlan(const SourceStore& source, const Store& store);
  // Null when it could not be opened, which has been told.
  Store* Open(std::unique_ptr<Store> store, const std::u16string& path);
  // Asks the store to tell its messages' state, where it is wanted.
  void AskForState(Store& store, const std::u16string& path);
  bool OpenOrphans(const SourceStore& source, std::size_t firstFolder);
  // True the first time.
  bool Remember(const std::u16string& folder);

  const SourceOptions& _options;
  ConversionRecord& _record;
  SourceWitness& _witness;
  Progress& _progress;
  const engine::MailboxWishes _mailboxWishes;
  FolderPlan _plan;
  std::set<std::pair<std::uint64_t, std::uint64_t>> _opened;  // folders: device and identity
  std::vector<std::unique_ptr<engine::StateWishes>> _wishes;  // of the stores
  std::vector<std::unique_ptr<Store>> _stores;                // the plan points into them
};

}  // namespace parvane::desk
