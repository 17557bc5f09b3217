// Mail that is read from front to back: mailboxes that are compressed or lie in archives, and
// exports of Gmail, in which labels stand for folders.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engine/asset_bases.h"
#include "engine/label_use.h"
#include "engine/source_observer.h"
#include "engine/turns.h"
#include "sources/stores/packed/label_survey.h"
#include "sources/stores/packed/mail_pass.h"
#include "sources/stores/packed/packed_mail_folder.h"

namespace parvane::sources {

class PackedMailStore : public QuelmarMIMEEngineCommon::AssetStoreBase,
                        public engine::TurnTaker,
                        private SeriesWatcher {
 public:
  // Files that are mailboxes, compressed ones or archives, and folders with such in them: several
  // are the parts of one source.
  PackedMailStore(std::vector<std::u16string> paths, engine::LabelUse labels);
  ~PackedMailStore() override;

  // Without labels, one folder for each file stands under the root, and under that those of an
  // archive's directories and mailboxes. With labels the folders that they stand for: for that the
  // headers of all messages are read. `create` and `logger` are ignored. Canceled leaves a store
  // without folders, or with some.
  QuelmarMIMEEngineCommon::OperationResultCode OpenStore(
      QuelmarMIMEEngineCommon::IProgressPresenter* progressPresenter,
      QuelmarMIMEEngineCommon::ICancelable* cancelable, bool create,
      QuelmarMIMEEngineCommon::ILogger* logger) override;
  // Always null.
  QuelmarMIMEEngineCommon::IAssetFolder* GetDefaultFolder(
      QuelmarMIMEEngineCommon::AssetFolderType folderType) override;
  void Release() override;

  void BeginTurns() override;
  QuelmarMIMEEngineCommon::IAssetFolder* NextTurn() override;
  void EndTurns() override;

  // For its folders and passes.
  bool TakesTurns() const { return _turns; }
  MailPass& Pass() { return *_pass; }
  // False when the next message is another folder's, or there are no more.
  bool ReadMessageOf(PackedMailFolder& folder, MessageBuffer& message);
  void ClosePassOf(const PackedMailFolder& folder);
  engine::LabelUse Labels() const { return _labels; }
  GmailLanguages Languages() const { return _languages; }
  bool HasSeveralMailboxes() const { return _mailboxes > 1; }
  // One, by its place and its path: damage may show an archive's entries otherwise than they were
  // listed. None, which the observer is told, of one that was not listed.
  std::vector<PackedMailFolder*> FoldersOfMailbox(std::size_t mailbox, const std::u16string& path);
  // Of a message that an earlier mailbox has.
  void TellOfCopy(const Tessary::MimeHeader& header) const;
  std::vector<PackedMailFolder*> FoldersOf(const LabelFields& fields) const;

 private:
  void NotRead(const std::u16string& path, engine::SkipReason reason,
               const platform::Status& why) override;
  engine::SeparatorRule Rule() const;
  std::unique_ptr<MailPass> NewPass();
  void FindFiles(const std::u16string& path, int depth);
  void ListMailboxes(QuelmarMIMEEngineCommon::IProgressPresenter* progress,
                     QuelmarMIMEEngineCommon::ICancelable* cancelable);
  void ShareUnits(std::size_t firstMailbox, const std::vector<std::uint64_t>& sizes,
                  std::uint64_t fileSize);
  // False when the user has had enough.
  bool SurveyLabels(QuelmarMIMEEngineCommon::IProgressPresenter* progress,
                    QuelmarMIMEEngineCommon::ICancelable* cancelable);
  PackedMailFolder* FolderBelow(PackedMailFolder* parent, const std::u16string& name);
  std::vector<LabelPlace> PlacesOfKey(const std::string& key) const;
  PackedMailFolder* FolderOfPlace(const LabelPlace& place);

  std::vector<std::u16string> _paths, _files;
  engine::LabelUse _labels;
  GmailLanguages _languages = kEveryLanguage;
  std::size_t _mailboxes = 0;
  std::set<std::u16string> _labelled;         // names of those with labels on their messages
  std::vector<PackedMailFolder*> _ofMailbox;  // without labels
  std::map<std::pair<PackedMailFolder*, std::u16string>, PackedMailFolder*> _below;
  std::map<LabelPlace, PackedMailFolder*> _ofPlace;
  std::unordered_map<std::string, std::vector<PackedMailFolder*>> _ofKey;
  std::set<std::pair<std::u16string, engine::SkipReason>> _told;
  std::unique_ptr<MailPass> _pass;
  const PackedMailFolder* _reader = nullptr;  // whose pass it is, but for turns
  bool _turns = false;
};

}  // namespace parvane::sources
