// One open personal folder file, shared by all objects that belong to it.
//
// Every object holds the core by shared pointer; log-off closes the file at once, whatever still
// lives, and from then on store() is null and the objects' methods fail.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "mapi/diagnostics_recorder.h"
#include "mapi/types.h"
#include "pstfile/store/pst_store.h"

namespace parvane::mapi::builtin {

// The result that tells a MAPI caller about a failure below.
HRESULT ResultOf(const platform::Status& status);
// Remembers the failure in the diagnostics and returns its result. "Not found" and "exists" are
// answers rather than failures, and are not remembered.
HRESULT NoteFailure(const std::u16string& path, StoreDiagnostics* record,
                    const platform::Status& status);
// The same for opening or creating a file, where a missing one is a failure too, and a file of
// another kind the service's own (EXTENDED_ERROR).
HRESULT NoteFileFailure(const std::u16string& path, const platform::Status& status);

class StoreCore {
 public:
  // Nothing of the file is changed or locked before the first modification.
  static HRESULT Open(const std::u16string& path, std::shared_ptr<StoreCore>& core);
  // Closes, with nobody left to tell but the diagnostics.
  ~StoreCore();

  // Null after Close.
  pstfile::PstStore* store() const { return _isOpen ? _store.get() : nullptr; }
  const std::u16string& path() const { return _path; }
  // Whether the store was opened with write access, once at least.
  bool writable() const { return _writable; }
  void AllowWriting();

  HRESULT Close();
  // As NoteFailure, for this file.
  HRESULT Note(const platform::Status& status);
  // After a message of a folder was saved; `first`: its first save.
  void CountSavedMessage(bool first);
  // Brings the diagnostics up to date; after every modification.
  void Publish();
  // Of this opening. Outlives it, and changes no more once it is closed.
  const std::shared_ptr<StoreDiagnostics>& record() const { return _record; }

  // Memory that streams lend each other, empty; Give back what is of use to the next.
  std::vector<std::byte> TakeMemory() { return std::exchange(_memory, {}); }
  void GiveMemory(std::vector<std::byte> memory) {
    constexpr std::size_t kMostKept = 64 * 1024;
    if (memory.capacity() > kMostKept || memory.capacity() <= _memory.capacity()) return;
    memory.clear();
    _memory = std::move(memory);
  }

  // ---- Entry ids ----

  std::vector<std::byte> EntryIdOf(pstfile::NodeId node) const;
  // The store's own, which names the file.
  std::vector<std::byte> StoreEntryId() const;
  std::span<const std::byte> RecordKey() const;

 private:
  StoreCore(std::unique_ptr<pstfile::PstStore> store, const std::u16string& path);

  std::unique_ptr<pstfile::PstStore> _store;
  pstfile::RecordKey _recordKey;
  std::u16string _path;
  std::vector<std::byte> _memory;
  std::shared_ptr<StoreDiagnostics> _record = std::make_shared<StoreDiagnostics>();
  // The store counts new versions of messages too. These are the sequence numbers of such saves
  // that were not committed when last looked at, and the number of those that were.
  std::vector<std::uint64_t> _uncommittedVersions;
  std::uint64_t _committedVersions = 0;
  bool _writable = false;
  bool _isOpen = true;
};

using StoreCorePtr = std::shared_ptr<StoreCore>;

// The identifier of a store, without opening it.
std::vector<std::byte> WrappedStoreEntryId(const std::u16string& path);
// The path in such an identifier; false when it is none.
bool PathOfStoreEntryId(std::span<const std::byte> entryId, std::u16string& path);

}  // namespace parvane::mapi::builtin
