// The utilities that mail programs' libraries lend to the system's.
#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "mapi/constants.h"
#include "mapi/identifiers.h"
#include "mapi/provider/exports.h"
#include "mapi/results.h"

namespace parvane::mapi {
namespace {

constexpr LONG kRowsAtATime = 500;
constexpr IID kIidMalloc = {0x00000002, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// Rows taken out of the sets they came in; those not handed on are freed.
class Rows {
 public:
  Rows() = default;
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;
  ~Rows() {
    for (const SRow& row : _rows) ParvaneMAPIFreeBuffer(row.lpProps);
  }

  std::size_t size() const { return _rows.size(); }

  // Takes over the rows of `set` and frees it.
  void Take(SRowSet* set) {
    try {
      _rows.insert(_rows.end(), set->aRow, set->aRow + set->cRows);
    } catch (...) {
      ParvaneFreeProws(set);
      throw;
    }
    ParvaneMAPIFreeBuffer(set);
  }

  HRESULT HandOut(SRowSet** out) {
    void* buffer = nullptr;
    const auto count = static_cast<ULONG>(_rows.size());
    if (const SCODE result = ParvaneMAPIAllocateBuffer(NewSizeSRowSet(count), &buffer);
        Failed(result)) {
      return result;
    }
    auto* set = static_cast<SRowSet*>(buffer);
    set->cRows = count;
    std::copy(_rows.begin(), _rows.end(), set->aRow);
    _rows.clear();
    *out = set;
    return S_OK;
  }

 private:
  std::vector<SRow> _rows;
};

HRESULT Prepare(IMAPITable& table, SPropTagArray* columns, SRestriction* restriction,
                SSortOrderSet* order) {
  HRESULT result = columns != nullptr ? table.SetColumns(columns, 0) : S_OK;
  if (Succeeded(result) && restriction != nullptr) result = table.Restrict(restriction, 0);
  if (Succeeded(result) && order != nullptr) result = table.SortTable(order, 0);
  return Succeeded(result) ? table.SeekRow(BOOKMARK_BEGINNING, 0, nullptr) : result;
}

HRESULT ReadAll(IMAPITable& table, std::size_t most, Rows& rows) {
  for (;;) {
    SRowSet* set = nullptr;
    if (const HRESULT result = table.QueryRows(kRowsAtATime, 0, &set); Failed(result))
      return result;
    if (set == nullptr) return S_OK;
    const bool atEnd = set->cRows == 0;
    rows.Take(set);
    if (rows.size() > most) return MAPI_E_TABLE_TOO_BIG;
    if (atEnd) return S_OK;
  }
}

}  // namespace

// IMalloc over the C library's memory: each block is preceded by its size.
class DefaultMalloc : public IUnknown {
 public:
  HRESULT PARVANE_STDCALL QueryInterface(const IID& riid, void** ppvObj) override {
    if (ppvObj == nullptr) return MAPI_E_INVALID_PARAMETER;
    const bool known = riid == kIidMalloc || riid == IID_IUnknown;
    *ppvObj = known ? this : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  // It lives as long as the library.
  ULONG PARVANE_STDCALL AddRef() override { return 1; }
  ULONG PARVANE_STDCALL Release() override { return 1; }

  virtual void* PARVANE_STDCALL Alloc(std::size_t cb) { return Resize(nullptr, cb); }
  virtual void* PARVANE_STDCALL Realloc(void* pv, std::size_t cb) {
    if (pv == nullptr || cb != 0) return Resize(pv, cb);
    Free(pv);
    return nullptr;
  }
  virtual void PARVANE_STDCALL Free(void* pv) {
    if (pv != nullptr) std::free(StartOf(pv));
  }
  virtual std::size_t PARVANE_STDCALL GetSize(void* pv) {
    if (pv == nullptr) return static_cast<std::size_t>(-1);
    std::size_t size;
    std::memcpy(&size, StartOf(pv), sizeof size);
    return size;
  }
  virtual int PARVANE_STDCALL DidAlloc(void*) { return -1; }  // it keeps no list
  virtual void PARVANE_STDCALL HeapMinimize() {}

 protected:
  ~DefaultMalloc() = default;

 private:
  static constexpr std::size_t kPrefix = alignof(std::max_align_t);
  static_assert(kPrefix >= sizeof(std::size_t));

  static std::byte* StartOf(void* pv) { return static_cast<std::byte*>(pv) - kPrefix; }
  static void* Resize(void* pv, std::size_t cb) {
    if (cb > std::numeric_limits<std::size_t>::max() - kPrefix) return nullptr;
    void* start = std::realloc(pv == nullptr ? nullptr : StartOf(pv), kPrefix + cb);
    if (start == nullptr) return nullptr;
    std::memcpy(start, &cb, sizeof cb);
    return static_cast<std::byte*>(start) + kPrefix;
  }
};

extern "C" {

SCODE PARVANE_STDCALL ParvaneScInitMapiUtil(ULONG) { return S_OK; }
void PARVANE_STDCALL ParvaneDeinitMapiUtil() {}

HRESULT PARVANE_STDCALL ParvaneHrQueryAllRows(IMAPITable* lpTable, SPropTagArray* lpPropTags,
                                              SRestriction* lpRestriction,
                                              SSortOrderSet* lpSortOrderSet, LONG crowsMax,
                                              SRowSet** lppRows) {
  if (lppRows != nullptr) *lppRows = nullptr;
  if (lpTable == nullptr || lppRows == nullptr || crowsMax < 0) return MAPI_E_INVALID_PARAMETER;
  try {
    // The set's size in bytes has 32 bits.
    const std::size_t most = crowsMax != 0 ? static_cast<std::size_t>(crowsMax) : 0x0FFFFFFF;
    Rows rows;
    HRESULT result = Prepare(*lpTable, lpPropTags, lpRestriction, lpSortOrderSet);
    if (Succeeded(result)) result = ReadAll(*lpTable, most, rows);
    return Succeeded(result) ? rows.HandOut(lppRows) : result;
  } catch (...) {
    return MAPI_E_NOT_ENOUGH_MEMORY;
  }
}

HRESULT PARVANE_STDCALL ParvaneHrThisThreadAdviseSink(IMAPIAdviseSink* lpAdviseSink,
                                                      IMAPIAdviseSink** lppAdviseSink) {
  if (lppAdviseSink != nullptr) *lppAdviseSink = nullptr;
  if (lpAdviseSink == nullptr || lppAdviseSink == nullptr) return MAPI_E_INVALID_PARAMETER;
  lpAdviseSink->AddRef();
  *lppAdviseSink = lpAdviseSink;
  return S_OK;
}

DefaultMalloc* PARVANE_STDCALL ParvaneMAPIGetDefaultMalloc() {
  class TheOne final : public DefaultMalloc {};
  static TheOne one;
  return &one;
}

HRESULT PARVANE_STDCALL ParvaneOpenStreamOnFile(void*, void*, ULONG, LPTSTR, LPTSTR,
                                                IStream** lppStream) {
  if (lppStream != nullptr) *lppStream = nullptr;
  return MAPI_E_NO_SUPPORT;
}

HRESULT PARVANE_STDCALL ParvaneWrapCompressedRTFStream(IStream*, ULONG,
                                                       IStream** lpUncompressedRTFStream) {
  if (lpUncompressedRTFStream != nullptr) *lpUncompressedRTFStream = nullptr;
  return MAPI_E_NO_SUPPORT;
}

}  // extern "C"

}  // namespace parvane::mapi
