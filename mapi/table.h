// IMAPITable: rows of properties, read through a cursor.
#pragma once

#include "mapi/unknown.h"

namespace parvane::mapi {

class IMAPITable : public IUnknown {
 public:
  virtual HRESULT PARVANE_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags,
                                               MAPIERROR** lppMAPIError) = 0;
  virtual HRESULT PARVANE_STDCALL Advise(ULONG ulEventMask, IMAPIAdviseSink* lpAdviseSink,
                                         ULONG_PTR* lpulConnection) = 0;
  virtual HRESULT PARVANE_STDCALL Unadvise(ULONG_PTR ulConnection) = 0;
  virtual HRESULT PARVANE_STDCALL GetStatus(ULONG* lpulTableStatus, ULONG* lpulTableType) = 0;
  virtual HRESULT PARVANE_STDCALL SetColumns(SPropTagArray* lpPropTagArray, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL QueryColumns(ULONG ulFlags, SPropTagArray** lpPropTagArray) = 0;
  virtual HRESULT PARVANE_STDCALL GetRowCount(ULONG ulFlags, ULONG* lpulCount) = 0;
  virtual HRESULT PARVANE_STDCALL SeekRow(BOOKMARK bkOrigin, LONG lRowCount,
                                          LONG* lplRowsSought) = 0;
  virtual HRESULT PARVANE_STDCALL SeekRowApprox(ULONG ulNumerator, ULONG ulDenominator) = 0;
  virtual HRESULT PARVANE_STDCALL QueryPosition(ULONG* lpulRow, ULONG* lpulNumerator,
                                                ULONG* lpulDenominator) = 0;
  virtual HRESULT PARVANE_STDCALL FindRow(SRestriction* lpRestriction, BOOKMARK bkOrigin,
                                          ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL Restrict(SRestriction* lpRestriction, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL CreateBookmark(BOOKMARK* lpbkPosition) = 0;
  virtual HRESULT PARVANE_STDCALL FreeBookmark(BOOKMARK bkPosition) = 0;
  virtual HRESULT PARVANE_STDCALL SortTable(SSortOrderSet* lpSortCriteria, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL QuerySortOrder(SSortOrderSet** lppSortCriteria) = 0;
  virtual HRESULT PARVANE_STDCALL QueryRows(LONG lRowCount, ULONG ulFlags, SRowSet** lppRows) = 0;
  virtual HRESULT PARVANE_STDCALL Abort() = 0;
  virtual HRESULT PARVANE_STDCALL ExpandRow(ULONG cbInstanceKey, BYTE* pbInstanceKey,
                                            ULONG ulRowCount, ULONG ulFlags, SRowSet** lppRows,
                                            ULONG* lpulMoreRows) = 0;
  virtual HRESULT PARVANE_STDCALL CollapseRow(ULONG cbInstanceKey, BYTE* pbInstanceKey,
                                              ULONG ulFlags, ULONG* lpulRowCount) = 0;
  virtual HRESULT PARVANE_STDCALL WaitForCompletion(ULONG ulFlags, ULONG ulTimeout,
                                                    ULONG* lpulTableStatus) = 0;
  virtual HRESULT PARVANE_STDCALL GetCollapseState(ULONG ulFlags, ULONG cbInstanceKey,
                                                   BYTE* lpbInstanceKey, ULONG* lpcbCollapseState,
                                                   BYTE** lppbCollapseState) = 0;
  virtual HRESULT PARVANE_STDCALL SetCollapseState(ULONG ulFlags, ULONG cbCollapseState,
                                                   BYTE* pbCollapseState,
                                                   BOOKMARK* lpbkLocation) = 0;

 protected:
  ~IMAPITable() = default;
};

}  // namespace parvane::mapi
