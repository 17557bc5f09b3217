// The tables of a folder: its messages, its subfolders. Rows are read from the file as they are
// asked for.
#pragma once

#include <optional>
#include <vector>

#include "mapi/builtin/identity.h"
#include "mapi/builtin/table.h"
#include "mapi/com_pointer.h"

namespace parvane::mapi::builtin {

class ContentsRows final : public TableRows {
 public:
  // `anchor` is kept alive.
  ContentsRows(StoreCorePtr core, IUnknown* anchor, pstfile::NodeId folder, bool associated)
      : _core(std::move(core)),
        _anchor(ComPointer<IUnknown>::Share(anchor)),
        _folder(folder),
        _associated(associated) {}
  HRESULT Count(ULONG& count) override;
  std::vector<ULONG> DefaultColumns() override;
  HRESULT Select(ULONG index) override;
  HRESULT Find(ULONG tag, Value& value) override;

 private:
  HRESULT Refresh();
  HRESULT FindStored(ULONG id, Value& value);

  StoreCorePtr _core;
  ComPointer<IUnknown> _anchor;
  pstfile::NodeId _folder;
  bool _associated;
  std::optional<pstfile::TableReader> _table;
  std::uint64_t _changes = 0;                      // of the store, when the table was opened
  std::optional<pstfile::MessageReader> _message;  // of the selected row, when it was needed
};

// Subfolders of one level, or of all levels (`deep`) in the order of a walk from the top.
class HierarchyRows final : public TableRows {
 public:
  HierarchyRows(StoreCorePtr core, IUnknown* anchor, pstfile::NodeId folder)
      : _core(std::move(core)), _anchor(ComPointer<IUnknown>::Share(anchor)), _folder(folder) {}
  HRESULT Walk(bool deep);
  HRESULT Count(ULONG& count) override;
  std::vector<ULONG> DefaultColumns() override;
  HRESULT Select(ULONG index) override;
  HRESULT Find(ULONG tag, Value& value) override;

 private:
  struct Entry {
    pstfile::NodeId node;
    pstfile::NodeId parent;
    ULONG depth = 0;
  };

  StoreCorePtr _core;
  ComPointer<IUnknown> _anchor;
  pstfile::NodeId _folder;
  std::vector<Entry> _entries;
  ULONG _selected = 0;
  std::optional<pstfile::PropertyReader> _reader;
};

// What a folder's properties say beyond what is stored; `reader` may be null.
HRESULT FindOfFolder(StoreCore& core, pstfile::NodeId node, pstfile::PropertyReader* reader,
                     ULONG id, Value& value);
// Tags that FindOfFolder computes.
std::vector<ULONG> ComputedFolderTags();

}  // namespace parvane::mapi::builtin
