#include "sources/stores/packed/packed_mail_store.h"

#include <algorithm>
#include <exception>

#include "engine/file_kinds.h"
#include "engine/mailbox_wishes.h"
#include "platform/path.h"
#include "platform/text.h"
#include "sources/mbox_email_asset.h"

namespace parvane::sources {

using engine::LabelUse;
using engine::SkipReason;
using QuelmarMIMEEngineCommon::IAssetFolder;
using QuelmarMIMEEngineCommon::ICancelable;
using QuelmarMIMEEngineCommon::IProgressPresenter;
using QuelmarMIMEEngineCommon::OperationResultCode;

namespace {

constexpr int kDeepest = 100;
constexpr std::u16string_view kGroups = u"Groups/";

// "Inbox.mbox": Inbox.
std::u16string WithoutMbox(const std::u16string& name) {
  return engine::HasExtension(name, u".mbox") && name.size() > 5 ? name.substr(0, name.size() - 5)
                                                                 : name;
}

// That of a maildir is not its folder "cur".
std::u16string FolderOfMessage(const std::u16string& path) {
  const std::u16string folder = platform::ParentOfPath(path);
  const std::u16string name = platform::FileNameOfPath(folder);
  return name == u"cur" || name == u"new" ? platform::ParentOfPath(folder) : folder;
}

}  // namespace

PackedMailStore::PackedMailStore(std::vector<std::u16string> paths, LabelUse labels)
    : AssetStoreBase(paths.empty() ? std::u16string() : paths.front(), u"Packed mail"),
      _paths(std::move(paths)),
      _labels(labels) {}

PackedMailStore::~PackedMailStore() { PackedMailStore::Release(); }

void PackedMailStore::Release() {
  _pass.reset();
  AssetStoreBase::Release();
}

IAssetFolder* PackedMailStore::GetDefaultFolder(QuelmarMIMEEngineCommon::AssetFolderType) {
  return nullptr;
}

OperationResultCode PackedMailStore::OpenStore(IProgressPresenter* progressPresenter,
                                               ICancelable* cancelable, bool,
                                               QuelmarMIMEEngineCommon::ILogger*) {
  _storeRootAssetFolder = MakeFolder<PackedMailFolder>(std::nullopt, std::nullopt, *this, nullptr);
  try {
    for (const std::u16string& path : _paths) FindFiles(path, 0);
    if (_labels == LabelUse::kOff) {
      ListMailboxes(progressPresenter, cancelable);
    } else if (!SurveyLabels(progressPresenter, cancelable)) {
      return OperationResultCode::Canceled;
    }
  } catch (const std::exception& error) {
    NotRead(_paths.front(), SkipReason::kUnreadable, {platform::StatusCode::kTooBig, error.what()});
  }
  return cancelable && cancelable->Cancel() ? OperationResultCode::Canceled
                                            : OperationResultCode::Completed;
}

void PackedMailStore::FindFiles(const std::u16string& path, int depth) {
  platform::FileSystem& files = platform::FileSystem::Default();
  if (!files.FolderExists(path)) return _files.push_back(path);
  const auto entries = files.List(path);
  if (!entries.ok()) return NotRead(path, SkipReason::kUnreadable, entries.status());
  if (depth > kDeepest) return NotRead(path, SkipReason::kTooDeep, {});
  for (const platform::DirectoryEntry& entry : *entries) {
    const std::u16string below = platform::JoinPath(path, entry.name);
    const bool mailbox = entry.kind == platform::FileKind::kFile &&
                         engine::HasExtension(entry.name, u".mbox") &&
                         !entry.name.starts_with(u"._");
    if (mailbox || (entry.kind == platform::FileKind::kFolder && !entry.link)) {
      FindFiles(below, depth + 1);
    } else if (entry.kind == platform::FileKind::kFile && engine::IsNamedLikeAnArchive(below)) {
      // Another part of the export, perhaps, that nobody has unpacked.
      NotRead(below, SkipReason::kCompressed, {});
    }
  }
}

void PackedMailStore::NotRead(const std::u16string& path, SkipReason reason,
                              const platform::Status& why) {
  // The settings and pages that an export brings along are nobody's mail.
  if (!Observer() || (_labels != LabelUse::kOff && reason == SkipReason::kOtherFile)) return;
  // A file has a few things said of it, once each, however often it is read.
  const std::u16string told = reason == SkipReason::kPackedMessages ? FolderOfMessage(path) : path;
  if (_told.emplace(told, reason).second) Observer()->PathSkipped(told, reason, why);
}

PackedMailFolder* PackedMailStore::FolderBelow(PackedMailFolder* parent,
                                               const std::u16string& name) {
  PackedMailFolder*& folder = _below[{parent, name}];
  if (!folder) folder = MakeFolder<PackedMailFolder>(name, parent->FolderDiskPath(), *this, parent);
  return folder;
}

void PackedMailStore::ListMailboxes(IProgressPresenter* progress, ICancelable* cancelable) {
  platform::FileSystem& disk = platform::FileSystem::Default();
  auto* root = static_cast<PackedMailFolder*>(_storeRootAssetFolder);
  MailboxSeries series(_files, *this);
  std::vector<std::uint64_t> sizes;
  std::size_t file = 0;
  while (!(cancelable && cancelable->Cancel()) && series.Next()) {
    if (series.File() != file) {
      ShareUnits(_ofMailbox.size() - sizes.size(), sizes, disk.Inspect(_files[file]).size);
      sizes.clear();
      file = series.File();
    }
    if (progress) progress->CurrentProgressLabel(series.Path());
    PackedMailFolder* parent = root;
    std::vector<std::u16string> levels = LevelsOf(series.Name());
    if (levels.empty()) levels.emplace_back();
    if (series.IsEntry()) {
      const std::u16string archive = platform::FileNameOfPath(_files[file]);
      parent = FolderBelow(root, std::u16string(archives::WithoutPacking(archive)));
      for (std::size_t i = 0; i + 1 < levels.size(); ++i) parent = FolderBelow(parent, levels[i]);
    }
    auto* mailbox =
        MakeFolder<PackedMailFolder>(WithoutMbox(levels.back()), series.Path(), *this, parent);
    mailbox->TakesMail();
    _ofMailbox.push_back(mailbox);
    sizes.push_back(std::max<std::uint64_t>(series.ClaimedSize(), 1));
    // To look for another one would take reading all of it.
    if (!series.IsEntry()) series.LeaveFile();
  }
  if (!sizes.empty())
    ShareUnits(_ofMailbox.size() - sizes.size(), sizes, disk.Inspect(_files[file]).size);
  _mailboxes = _ofMailbox.size();
}

// How much of an archive's file an entry takes is not told, only how large it is.
void PackedMailStore::ShareUnits(std::size_t firstMailbox, const std::vector<std::uint64_t>& sizes,
                                 std::uint64_t fileSize) {
  double total = 0;
  for (const std::uint64_t size : sizes) total += static_cast<double>(size);
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    const double share = static_cast<double>(sizes[i]) / total * static_cast<double>(fileSize);
    _ofMailbox[firstMailbox + i]->AddUnits(static_cast<std::uint64_t>(share));
  }
}

bool PackedMailStore::SurveyLabels(IProgressPresenter* progress, ICancelable* cancelable) {
  std::uint64_t total = 0;
  for (const std::u16string& file : _files)
    total += platform::FileSystem::Default().Inspect(file).size;
  LabelSurvey survey;
  bool canceled = false;
  survey.Run(_files, *this, Rule(), [&](std::uint64_t read) {
    const std::uint64_t percent = read / std::max<std::uint64_t>(total / 100, 1);
    if (progress) {
      progress->CurrentProgressLabel(_paths.front() + u" (" +
                                     platform::Utf8ToUtf16(std::to_string(percent)) + u" %)");
    }
    canceled = cancelable && cancelable->Cancel();
    return !canceled;
  });
  if (canceled) return false;
  _languages = survey.Languages();
  _mailboxes = survey.Mailboxes();
  _labelled = survey.TakeLabelled();
  // Sorted, so that folders stand in the same order whichever mail comes first.
  std::set<LabelPlace> places;
  for (const auto& [key, set] : survey.Sets()) {
    for (LabelPlace& place : PlacesOfKey(key)) places.insert(std::move(place));
  }
  if (survey.IsFull()) places.insert({GmailLabel::kArchived, {}});
  const auto isOfUser = [](const LabelPlace& place) { return place.label == GmailLabel::kOfUser; };
  for (const bool ofUser : {false, true}) {
    for (const LabelPlace& place : places) {
      if (isOfUser(place) == ofUser) FolderOfPlace(place);
    }
  }
  for (const auto& [key, set] : survey.Sets()) {
    std::vector<PackedMailFolder*>& folders = _ofKey[key];
    for (const LabelPlace& place : PlacesOfKey(key)) folders.push_back(_ofPlace.at(place));
    folders.front()->AddUnits(set.packedBytes);
  }
  return true;
}

std::vector<LabelPlace> PackedMailStore::PlacesOfKey(const std::string& key) const {
  if (const std::u16string group = LabelFields::GroupOfKey(key); !group.empty())
    return {{GmailLabel::kOfUser, std::u16string(kGroups) + group}};
  // A mailbox of another kind, among those of the export or alone.
  if (const std::u16string mailbox = LabelFields::MailboxOfKey(key);
      !mailbox.empty() && !_labelled.contains(mailbox)) {
    return PlacesOf({WithoutMbox(platform::FileNameOfPath(mailbox))}, _languages, _labels);
  }
  return PlacesOf(LabelFields::LabelsOfKey(key), _languages, _labels);
}

PackedMailFolder* PackedMailStore::FolderOfPlace(const LabelPlace& place) {
  PackedMailFolder*& known = _ofPlace[place];
  if (known) return known;
  auto* folder = static_cast<PackedMailFolder*>(_storeRootAssetFolder);
  if (place.label != GmailLabel::kOfUser) {
    folder = MakeFolder<PackedMailFolder>(std::u16string(NameOfSystemPlace(place.label)),
                                          _paths.front(), *this, folder);
  } else {
    for (const std::u16string& level : LevelsOf(place.name)) folder = FolderBelow(folder, level);
    if (folder == _storeRootAssetFolder) folder = FolderBelow(folder, place.name);
  }
  folder->TakesMail();
  folder->SetPlace(place);
  return known = folder;
}

std::vector<PackedMailFolder*> PackedMailStore::FoldersOfMailbox(std::size_t mailbox,
                                                                 const std::u16string& path) {
  const auto isIt = [&](const PackedMailFolder* folder) {
    return folder->FolderDiskPath() == path;
  };
  if (mailbox < _ofMailbox.size() && isIt(_ofMailbox[mailbox])) return {_ofMailbox[mailbox]};
  const auto found = std::ranges::find_if(_ofMailbox, isIt);
  if (found != _ofMailbox.end()) return {*found};
  NotRead(path, SkipReason::kDamagedArchive,
          {platform::StatusCode::kCorrupt, "not in the archive's list of files"});
  return {};
}

void PackedMailStore::TellOfCopy(const Tessary::MimeHeader& header) const {
  if (_turns && Observer()) Observer()->CopySkipped(QuelmarMIMEEngineCommon::MessageIdIn(header));
}

std::vector<PackedMailFolder*> PackedMailStore::FoldersOf(const LabelFields& fields) const {
  if (const auto known = _ofKey.find(fields.Key()); known != _ofKey.end()) return known->second;
  std::vector<PackedMailFolder*> folders;
  for (const LabelPlace& place : PlacesOfKey(fields.Key())) {
    if (const auto found = _ofPlace.find(place); found != _ofPlace.end())
      folders.push_back(found->second);
  }
  if (folders.empty() && !_ofPlace.empty()) {
    const auto archive = _ofPlace.find({GmailLabel::kArchived, {}});
    folders.push_back(archive == _ofPlace.end() ? _ofPlace.begin()->second : archive->second);
  }
  return folders;
}

engine::SeparatorRule PackedMailStore::Rule() const {
  return MailboxWishes() ? MailboxWishes()->separators : engine::SeparatorRule::kStandard;
}

std::unique_ptr<MailPass> PackedMailStore::NewPass() {
  SeriesWatcher& watcher = *this;
  return std::make_unique<MailPass>(_files, *this, watcher, Rule());
}

void PackedMailStore::BeginTurns() {
  _turns = true;
  _pass = NewPass();
}

IAssetFolder* PackedMailStore::NextTurn() { return _pass ? _pass->Next() : nullptr; }

void PackedMailStore::EndTurns() {
  _turns = false;
  _pass.reset();
}

bool PackedMailStore::ReadMessageOf(PackedMailFolder& folder, MessageBuffer& message) {
  if (!_turns && _reader != &folder) {
    _pass = NewPass();
    _reader = &folder;
  }
  while (const PackedMailFolder* next = _pass->Next()) {
    if (next == &folder) {
      _pass->Take(message);
      for (const MessageSeries::Doubt& doubt : _pass->TakeDoubts()) {
        const engine::SuspectedSeparator told{doubt.offset, doubt.reason, doubt.line, doubt.strict};
        if (Observer()) Observer()->SeparatorSuspected(folder, told);
      }
      return true;
    }
    if (_turns) return false;
    _pass->PassBy();
  }
  return false;
}

void PackedMailStore::ClosePassOf(const PackedMailFolder& folder) {
  if (_turns || _reader != &folder) return;
  _pass.reset();
  _reader = nullptr;
}

}  // namespace parvane::sources
