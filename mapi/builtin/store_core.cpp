#include "mapi/builtin/store_core.h"

#include <algorithm>
#include <cstring>

#include "mapi/builtin/environment.h"
#include "mapi/builtin/object.h"
#include "mapi/identifiers.h"
#include "mapi/options.h"
#include "mapi/results.h"
#include "platform/path.h"
#include "pstfile/ndb/node_database.h"

namespace parvane::mapi::builtin {

using platform::Status;
using platform::StatusCode;

HRESULT ResultOf(const Status& status) {
  switch (status.code()) {
    case StatusCode::kOk:
      return S_OK;
    case StatusCode::kNotFound:
      return MAPI_E_NOT_FOUND;
    case StatusCode::kExists:
      return MAPI_E_COLLISION;
    case StatusCode::kAccessDenied:
      return MAPI_E_NO_ACCESS;
    case StatusCode::kLocked:
      return MAPI_E_BUSY;
    case StatusCode::kDiskFull:
      return MAPI_E_NOT_ENOUGH_DISK;
    case StatusCode::kIoError:
      return MAPI_E_DISK_ERROR;
    case StatusCode::kCorrupt:
      return MAPI_E_CORRUPT_STORE;
    case StatusCode::kUnsupported:
      return MAPI_E_NO_SUPPORT;
    case StatusCode::kTooBig:
      return MAPI_E_TOO_BIG;
    case StatusCode::kInvalidArgument:
      return MAPI_E_INVALID_PARAMETER;
    case StatusCode::kClosed:
      return MAPI_E_END_OF_SESSION;
  }
  return MAPI_E_CALL_FAILED;
}

namespace {

HRESULT Record(const std::u16string& path, StoreDiagnostics* record, HRESULT result,
               const Status& status) {
  const std::string shown = platform::PathForDisplay(path);
  const bool named = status.message().find(shown) != std::string::npos;
  RecordFailure(record, result, named ? status.message() : shown + ": " + status.message());
  return result;
}

}  // namespace

HRESULT NoteFailure(const std::u16string& path, StoreDiagnostics* record, const Status& status) {
  HRESULT result = ResultOf(status);
  // Answers, and no failures: who asks whether something is there expects either.
  if (status.ok() || status.code() == StatusCode::kNotFound ||
      status.code() == StatusCode::kExists) {
    return result;
  }
  if (result == MAPI_E_NOT_ENOUGH_DISK && record != nullptr && record->sizeLimitReached) {
    result = MAPI_E_STORE_FULL;
  }
  return Record(path, record, result, status);
}

HRESULT NoteFileFailure(const std::u16string& path, const Status& status) {
  const HRESULT result =
      status.code() == StatusCode::kUnsupported ? MAPI_E_EXTENDED_ERROR : ResultOf(status);
  return Record(path, nullptr, result, status);
}

HRESULT StoreCore::Open(const std::u16string& path, StoreCorePtr& core) {
  pstfile::StoreOptions options = TheEnvironment().storeOptions;
  options.sizeLimit = CurrentBuiltinOptions().sizeLimit;
  const bool readOnly = CurrentBuiltinOptions().readOnly;
  auto opened = pstfile::PstStore::Open(
      Files(), path, readOnly ? pstfile::StoreOpenMode::kRead : pstfile::StoreOpenMode::kReadWrite,
      options);
  if (!opened.ok()) return NoteFileFailure(path, opened.status());
  core.reset(new StoreCore(std::move(opened).value(), path));
  core->Publish();
  return S_OK;
}

StoreCore::StoreCore(std::unique_ptr<pstfile::PstStore> store, const std::u16string& path)
    : _store(std::move(store)), _recordKey(_store->recordKey()), _path(path) {
  _record->hasPassword = _store->hasPassword();
  _record->isOpen = true;
}

// Where the last object goes without a log-off, what was saved is committed even so;
// that it could not be reaches the diagnostics, for there is nobody left to tell.
StoreCore::~StoreCore() {
  Guarded([this] { return Close(); });
}

void StoreCore::AllowWriting() { _writable = !CurrentBuiltinOptions().readOnly; }

HRESULT StoreCore::Close() {
  if (!_isOpen) return S_OK;
  const Status status = _store->Close();
  Publish();
  const HRESULT result = Note(status);
  // After the last word about it: Note writes into the record of an open store only.
  _isOpen = false;
  _record->isOpen = false;
  return result;
}

HRESULT StoreCore::Note(const Status& status) {
  Publish();
  return NoteFailure(_path, _isOpen ? _record.get() : nullptr, status);
}

void StoreCore::CountSavedMessage(bool first) {
  if (!_isOpen) return;
  // The store counts every saving; people count messages. Later versions of one are therefore set
  // aside, each by its place in the store's count, until a commit covers it.
  if (first) {
    ++_record->messagesSaved;
  } else {
    _uncommittedVersions.push_back(_store->statistics().messagesSaved);
  }
  Publish();
}

void StoreCore::Publish() {
  if (!_isOpen) return;
  const pstfile::StoreStatistics& statistics = _store->statistics();
  _committedVersions += std::erase_if(_uncommittedVersions, [&](std::uint64_t sequence) {
    return sequence <= statistics.messagesCommitted;
  });
  _record->messagesCommitted = statistics.messagesCommitted - _committedVersions;
  _record->foldersCreated = statistics.foldersCreated;
  _record->foldersCommitted = statistics.foldersCommitted;
  _record->fileSize = _store->database().FileSize();
  _record->roomLeft = _store->database().RoomLeft();
  _record->mapsRebuilt = _store->database().mapsWereRebuilt();
  _record->sizeLimitReached = _store->database().sizeLimitReached();
  if (_record->latched || _store->status().ok()) return;
  // Seen for the first time; it may have come from a commit that no caller was told about.
  _record->latched = true;
  NoteFailure(_path, _record.get(), _store->status());
  _record->writeFailure = _record->lastFailure;
}

std::vector<std::byte> StoreCore::EntryIdOf(pstfile::NodeId node) const {
  const pstfile::EntryId id = _store->ToEntryId(node);
  return {id.begin(), id.end()};
}

std::vector<std::byte> StoreCore::StoreEntryId() const { return WrappedStoreEntryId(_path); }

std::span<const std::byte> StoreCore::RecordKey() const { return _recordKey; }

namespace {

constexpr std::size_t kProviderOffset = 36;
constexpr std::size_t kPathOffset = 54;
constexpr char kProviderLibrary[] = "mspst.dll";  // at 22, with its terminator

}  // namespace

// Offset 0 flags, 4 wrapper, 20 version and flag, 22 library name padded to 32, 32 inner flags,
// 36 provider, 52 reserved and an empty 8-bit path, 54 path in UTF-16 with terminator.
std::vector<std::byte> WrappedStoreEntryId(const std::u16string& path) {
  std::vector<std::byte> id(kPathOffset + (path.size() + 1) * 2);
  std::memcpy(id.data() + 4, &kStoreWrapper, sizeof kStoreWrapper);
  std::memcpy(id.data() + 22, kProviderLibrary, sizeof kProviderLibrary);
  std::memcpy(id.data() + kProviderOffset, &kPersonalFolderProvider,
              sizeof kPersonalFolderProvider);
  for (std::size_t i = 0; i < path.size(); ++i) {
    id[kPathOffset + 2 * i] = std::byte(path[i] & 0xFF);
    id[kPathOffset + 2 * i + 1] = std::byte(path[i] >> 8);
  }
  return id;
}

bool PathOfStoreEntryId(std::span<const std::byte> entryId, std::u16string& path) {
  if (entryId.size() < kPathOffset + 2 || (entryId.size() - kPathOffset) % 2 != 0) return false;
  if (std::memcmp(entryId.data() + 4, &kStoreWrapper, sizeof kStoreWrapper) != 0 ||
      std::memcmp(entryId.data() + kProviderOffset, &kPersonalFolderProvider,
                  sizeof kPersonalFolderProvider) != 0) {
    return false;
  }
  path.clear();
  for (std::size_t at = kPathOffset; at + 2 < entryId.size(); at += 2) {
    path.push_back(static_cast<char16_t>(std::to_integer<unsigned>(entryId[at]) |
                                         std::to_integer<unsigned>(entryId[at + 1]) << 8));
  }
  return true;
}

}  // namespace parvane::mapi::builtin
