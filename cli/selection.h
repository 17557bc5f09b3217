// Which items of the sources a conversion copies, as its options say.
#pragma once

#include <cstddef>
#include <map>

#include "cli/options.h"
#include "engine/folders.h"
#include "moves/duplicates.h"
#include "moves/item_filter.h"
#include "moves/mail_there.h"
#include "platform/status.h"

namespace parvane::cli {

class Selection : public moves::ItemFilter {
 public:
  explicit Selection(const ConvertOptions& options) : _options(options) {}

  // The items that come next go to `target`, and are accounted for under this number. Where folders
  // take turns, each begins any number of times. Fails when what is there already cannot be read.
  platform::Status BeginFolder(std::size_t account,
                               QuelmarMIMEEngineCommon::IAssetFolderMutable& target);
  // No more items come from the folder.
  void EndFolder(std::size_t account);

  moves::Judgement Judge(QuelmarMIMEEngineCommon::IAsset& item) override;

 private:
  bool LooksForMailThere() const { return _options.skipExisting; }

  const ConvertOptions& _options;
  // Of the folders that have begun and not ended.
  std::map<std::size_t, moves::Duplicates> _duplicates;
  std::map<std::size_t, moves::MailThere> _there;
  moves::Duplicates* _duplicatesHere = nullptr;
  moves::MailThere* _thereHere = nullptr;
};

}  // namespace parvane::cli
