#include "mapi/builtin/table.h"

#include <algorithm>
#include <limits>

#include "mapi/builtin/object.h"
#include "mapi/constants.h"

namespace parvane::mapi::builtin {
namespace {

constexpr BOOKMARK kFirstBookmark = 16;  // above the predefined ones
// Who never frees any must not take all memory.
constexpr std::size_t kMostBookmarks = 4096;

// A cursor over rows that are read when they are asked for. It holds no row: tables of two million
// messages are read through it, and rows may come and go while it stands, which is why every
// position is held against the count of the moment before it is used.
//
// No sorting and no restricting: both would have to read all rows first. Clients that are told so
// read them in the file's order.
class Table final : public ExplainedObject<IMAPITable> {
 public:
  Table(std::unique_ptr<TableRows> rows, bool unicode)
      : _rows(std::move(rows)), _columns(_rows->DefaultColumns()), _unicode(unicode) {
    for (ULONG& tag : _columns) tag = TagForCaller(tag, unicode);
  }

  bool Implements(const IID& iid) const override { return iid == IID_IMAPITable; }

  HRESULT PARVANE_STDCALL Advise(ULONG, IMAPIAdviseSink*, ULONG_PTR* lpulConnection) override {
    return ClearOut(lpulConnection) ? MAPI_E_NO_SUPPORT : MAPI_E_INVALID_PARAMETER;
  }
  HRESULT PARVANE_STDCALL Unadvise(ULONG_PTR) override { return MAPI_E_NO_SUPPORT; }
  HRESULT PARVANE_STDCALL GetStatus(ULONG* lpulTableStatus, ULONG* lpulTableType) override {
    if (lpulTableStatus == nullptr || lpulTableType == nullptr) return MAPI_E_INVALID_PARAMETER;
    *lpulTableStatus = TBLSTAT_COMPLETE;
    *lpulTableType = TBLTYPE_DYNAMIC;
    return S_OK;
  }
  HRESULT PARVANE_STDCALL SetColumns(SPropTagArray* lpPropTagArray, ULONG) override {
    return Guarded([&]() -> HRESULT {
      if (lpPropTagArray == nullptr || lpPropTagArray->cValues == 0) {
        return MAPI_E_INVALID_PARAMETER;
      }
      const ULONG* tags = lpPropTagArray->aulPropTag;
      _columns.assign(tags, tags + lpPropTagArray->cValues);
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL QueryColumns(ULONG ulFlags, SPropTagArray** lpPropTagArray) override {
    return Guarded([&]() -> HRESULT {
      if (!ClearOut(lpPropTagArray)) return MAPI_E_INVALID_PARAMETER;
      std::vector<ULONG> columns = _columns;
      if ((ulFlags & TBL_ALL_COLUMNS) != 0) {
        columns = _rows->DefaultColumns();
        for (ULONG& tag : columns) tag = TagForCaller(tag, _unicode);
      }
      Chain chain;
      const auto count = static_cast<ULONG>(columns.size());
      auto* array = static_cast<SPropTagArray*>(chain.Allocate(NewSizeSPropTagArray(count)));
      array->cValues = count;
      std::copy(columns.begin(), columns.end(), array->aulPropTag);
      *lpPropTagArray = chain.Detach<SPropTagArray>();
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL GetRowCount(ULONG, ULONG* lpulCount) override {
    return Guarded([&]() -> HRESULT {
      if (!ClearOut(lpulCount)) return MAPI_E_INVALID_PARAMETER;
      return _rows->Count(*lpulCount);
    });
  }
  HRESULT PARVANE_STDCALL SeekRow(BOOKMARK bkOrigin, LONG lRowCount, LONG* lplRowsSought) override {
    return Guarded([&]() -> HRESULT {
      if (lplRowsSought != nullptr) *lplRowsSought = 0;
      ULONG count = 0;
      if (const HRESULT result = _rows->Count(count); Failed(result)) return result;
      std::int64_t origin = 0;
      if (const HRESULT result = PositionOf(bkOrigin, count, origin); Failed(result)) {
        return result;
      }
      const std::int64_t target = std::clamp<std::int64_t>(origin + lRowCount, 0, count);
      if (lplRowsSought != nullptr) *lplRowsSought = static_cast<LONG>(target - origin);
      _position = static_cast<ULONG>(target);
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL SeekRowApprox(ULONG ulNumerator, ULONG ulDenominator) override {
    return Guarded([&]() -> HRESULT {
      if (ulDenominator == 0) return MAPI_E_INVALID_PARAMETER;
      ULONG count = 0;
      if (const HRESULT result = _rows->Count(count); Failed(result)) return result;
      const ULONG numerator = std::min(ulNumerator, ulDenominator);
      _position = static_cast<ULONG>(std::uint64_t{count} * numerator / ulDenominator);
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL QueryPosition(ULONG* lpulRow, ULONG* lpulNumerator,
                                        ULONG* lpulDenominator) override {
    return Guarded([&]() -> HRESULT {
      if (lpulRow == nullptr || lpulNumerator == nullptr || lpulDenominator == nullptr) {
        return MAPI_E_INVALID_PARAMETER;
      }
      ULONG count = 0;
      if (const HRESULT result = _rows->Count(count); Failed(result)) return result;
      *lpulRow = *lpulNumerator = std::min(_position, count);
      *lpulDenominator = std::max<ULONG>(count, 1);
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL FindRow(SRestriction*, BOOKMARK, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL Restrict(SRestriction* lpRestriction, ULONG) override {
    return lpRestriction == nullptr ? S_OK : MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL CreateBookmark(BOOKMARK* lpbkPosition) override {
    return Guarded([&]() -> HRESULT {
      if (!ClearOut(lpbkPosition)) return MAPI_E_INVALID_PARAMETER;
      auto free = std::find(_bookmarks.begin(), _bookmarks.end(), kFree);
      if (free == _bookmarks.end()) {
        if (_bookmarks.size() == kMostBookmarks) return MAPI_E_UNABLE_TO_COMPLETE;
        free = _bookmarks.insert(free, kFree);
      }
      // A position and not a row: after a row before it has gone, it is one further on.
      *free = _position;
      *lpbkPosition = kFirstBookmark + static_cast<BOOKMARK>(free - _bookmarks.begin());
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL FreeBookmark(BOOKMARK bkPosition) override {
    if (bkPosition <= BOOKMARK_END) return S_OK;
    ULONG* bookmark = BookmarkAt(bkPosition);
    if (bookmark == nullptr) return MAPI_E_INVALID_BOOKMARK;
    *bookmark = kFree;
    return S_OK;
  }
  HRESULT PARVANE_STDCALL SortTable(SSortOrderSet*, ULONG) override { return MAPI_E_NO_SUPPORT; }
  // Rows come in the file's order, which is no order of columns.
  HRESULT PARVANE_STDCALL QuerySortOrder(SSortOrderSet** lppSortCriteria) override {
    return Guarded([&]() -> HRESULT {
      if (!ClearOut(lppSortCriteria)) return MAPI_E_INVALID_PARAMETER;
      Chain chain;
      auto* order = chain.AllocateArray<SSortOrderSet>(1);
      *order = {};
      *lppSortCriteria = chain.Detach<SSortOrderSet>();
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL QueryRows(LONG lRowCount, ULONG ulFlags, SRowSet** lppRows) override {
    return Guarded([&] { return ReadRows(lRowCount, (ulFlags & TBL_NOADVANCE) != 0, lppRows); });
  }
  HRESULT PARVANE_STDCALL Abort() override { return S_OK; }
  HRESULT PARVANE_STDCALL ExpandRow(ULONG, BYTE*, ULONG, ULONG, SRowSet** lppRows,
                                    ULONG* lpulMoreRows) override {
    ClearOut(lppRows);
    ClearOut(lpulMoreRows);
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL CollapseRow(ULONG, BYTE*, ULONG, ULONG* lpulRowCount) override {
    ClearOut(lpulRowCount);
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL WaitForCompletion(ULONG, ULONG, ULONG* lpulTableStatus) override {
    if (lpulTableStatus != nullptr) *lpulTableStatus = TBLSTAT_COMPLETE;
    return S_OK;
  }
  HRESULT PARVANE_STDCALL GetCollapseState(ULONG, ULONG, BYTE*, ULONG* lpcbCollapseState,
                                           BYTE** lppbCollapseState) override {
    ClearOut(lpcbCollapseState);
    ClearOut(lppbCollapseState);
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL SetCollapseState(ULONG, ULONG, BYTE*, BOOKMARK* lpbkLocation) override {
    ClearOut(lpbkLocation);
    return MAPI_E_NO_SUPPORT;
  }

 private:
  static constexpr ULONG kFree = std::numeric_limits<ULONG>::max();

  ULONG* BookmarkAt(BOOKMARK bookmark) {
    if (bookmark < kFirstBookmark || bookmark - kFirstBookmark >= _bookmarks.size()) {
      return nullptr;
    }
    ULONG& position = _bookmarks[bookmark - kFirstBookmark];
    return position == kFree ? nullptr : &position;
  }

  HRESULT PositionOf(BOOKMARK bookmark, ULONG count, std::int64_t& position) {
    switch (bookmark) {
      case BOOKMARK_BEGINNING:
        position = 0;
        return S_OK;
      case BOOKMARK_CURRENT:
        position = std::min(_position, count);
        return S_OK;
      case BOOKMARK_END:
        position = count;
        return S_OK;
      default: {
        const ULONG* stored = BookmarkAt(bookmark);
        if (stored == nullptr) return MAPI_E_INVALID_BOOKMARK;
        position = std::min(*stored, count);
        return S_OK;
      }
    }
  }

  // A negative count reads the rows before the cursor and leaves it on the first of them.
  HRESULT ReadRows(LONG wanted, bool stay, SRowSet** out) {
    if (!ClearOut(out) || wanted == 0) return MAPI_E_INVALID_PARAMETER;
    ULONG count = 0;
    if (const HRESULT result = _rows->Count(count); Failed(result)) return result;
    const std::int64_t position = std::min(_position, count);
    std::int64_t first = position;
    std::int64_t last = position;
    if (wanted > 0) {
      last = std::min<std::int64_t>(count, position + wanted);
    } else {
      first = std::max<std::int64_t>(0, position + wanted);
    }

    // The set is built row by row, so that a failure half-way frees what there is.
    struct Freed {
      SRowSet* rows = nullptr;
      ~Freed() { FreeRows(rows); }
    } set;
    const auto size = static_cast<ULONG>(last - first);
    void* buffer = nullptr;
    if (Failed(AllocateBuffer(NewSizeSRowSet(size), &buffer))) return MAPI_E_NOT_ENOUGH_MEMORY;
    set.rows = static_cast<SRowSet*>(buffer);
    set.rows->cRows = 0;
    for (ULONG i = 0; i < size; ++i) {
      SRow row{};
      if (const HRESULT result = ReadRow(static_cast<ULONG>(first) + i, row); Failed(result)) {
        return result;
      }
      set.rows->aRow[i] = row;
      ++set.rows->cRows;
    }
    if (!stay) _position = static_cast<ULONG>(wanted > 0 ? last : first);
    *out = set.rows;
    set.rows = nullptr;
    return S_OK;
  }

  // Each row's values are one chain, which the caller frees row by row (FreeProws). A cell that
  // cannot be read is an error value in its place: the others are wanted all the same.
  HRESULT ReadRow(ULONG index, SRow& row) {
    if (const HRESULT result = _rows->Select(index); Failed(result)) return result;
    Chain chain;
    auto* values = chain.AllocateArray<SPropValue>(_columns.size());
    for (std::size_t i = 0; i < _columns.size(); ++i) {
      const ULONG tag = _columns[i];
      if (tag == PR_NULL) {
        values[i] = {};
        values[i].ulPropTag = PR_NULL;
        continue;
      }
      // _value keeps its memory from cell to cell, and what each leaves in it.
      _value.large = false;
      const HRESULT found = IsHiddenId(PropId(tag)) ? MAPI_E_NOT_FOUND : _rows->Find(tag, _value);
      if (Failed(found)) {
        ReturnError(tag, found, values[i]);
      } else {
        ReturnValue(_value, tag, _unicode, kDefaultHtmlCodePage, chain, values[i]);
      }
    }
    row.cValues = static_cast<ULONG>(_columns.size());
    row.lpProps = chain.Detach<SPropValue>();
    return S_OK;
  }

  std::unique_ptr<TableRows> _rows;
  std::vector<ULONG> _columns;
  std::vector<ULONG> _bookmarks;
  Value _value;
  ULONG _position = 0;
  bool _unicode;
};

}  // namespace

HRESULT MakeTable(std::unique_ptr<TableRows> rows, ULONG flags, IMAPITable** out) {
  *out = new Table(std::move(rows), (flags & MAPI_UNICODE) != 0);
  return S_OK;
}

HRESULT ListRows::Count(ULONG& count) {
  count = static_cast<ULONG>(_rows.size());
  return S_OK;
}

HRESULT ListRows::Select(ULONG index) {
  if (index >= _rows.size()) return MAPI_E_NOT_FOUND;
  _selected = index;
  return S_OK;
}

HRESULT ListRows::Find(ULONG tag, Value& value) {
  return FindInList(_rows[_selected], PropId(tag), value);
}

HRESULT FindInList(const pstfile::PropertyList& list, ULONG id, Value& value) {
  const auto property = list.FindId(static_cast<std::uint16_t>(id));
  if (!property || property->kind == pstfile::Property::Kind::kStored) return MAPI_E_NOT_FOUND;
  if (property->kind == pstfile::Property::Kind::kBytes) {
    value.tag = property->tag.value;
    value.bytes = property->bytes;
  } else {
    value.SetScalar(property->tag.value, property->scalar);
  }
  return S_OK;
}

}  // namespace parvane::mapi::builtin
