// IMAPITable over any source of rows.
#pragma once

#include <memory>
#include <vector>

#include "mapi/builtin/values.h"
#include "mapi/table.h"
#include "pstfile/ltp/property_list.h"

namespace parvane::mapi::builtin {

// Rows that are looked at one at a time; nothing is read before it is asked for.
class TableRows {
 public:
  virtual ~TableRows() = default;
  virtual HRESULT Count(ULONG& count) = 0;
  // The columns a table starts with (string columns in Unicode).
  virtual std::vector<ULONG> DefaultColumns() = 0;
  // `index` is below the count.
  virtual HRESULT Select(ULONG index) = 0;
  // Of the selected row: S_OK, MAPI_E_NOT_FOUND, or why it cannot be read.
  virtual HRESULT Find(ULONG tag, Value& value) = 0;
};

// Hands out a table. `flags`: MAPI_UNICODE chooses the width of string columns.
HRESULT MakeTable(std::unique_ptr<TableRows> rows, ULONG flags, IMAPITable** out);

// A snapshot held in memory, for short lists.
class ListRows final : public TableRows {
 public:
  ListRows(std::vector<ULONG> columns, std::vector<pstfile::PropertyList> rows)
      : _columns(std::move(columns)), _rows(std::move(rows)) {}
  HRESULT Count(ULONG& count) override;
  std::vector<ULONG> DefaultColumns() override { return _columns; }
  HRESULT Select(ULONG index) override;
  HRESULT Find(ULONG tag, Value& value) override;

 private:
  std::vector<ULONG> _columns;
  std::vector<pstfile::PropertyList> _rows;
  ULONG _selected = 0;
};

// A value of a list, stored values excepted (MAPI_E_NOT_FOUND).
HRESULT FindInList(const pstfile::PropertyList& list, ULONG id, Value& value);

}  // namespace parvane::mapi::builtin
