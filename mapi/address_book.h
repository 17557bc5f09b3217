// IAddrBook.
#pragma once

#include "mapi/property_object.h"
#include "mapi/table.h"

namespace parvane::mapi {

// Callbacks of dialogs.
using LPFNDISMISS = void(PARVANE_STDCALL*)(ULONG_PTR ulUIParam, void* lpvContext);
using LPFNBUTTON = SCODE(PARVANE_STDCALL*)(ULONG_PTR ulUIParam, void* lpvContext, ULONG cbEntryID,
                                           ENTRYID* lpSelection, ULONG ulFlags);

class IAddrBook : public IMAPIProp {
 public:
  virtual HRESULT PARVANE_STDCALL OpenEntry(ULONG cbEntryID, ENTRYID* lpEntryID,
                                            const IID* lpInterface, ULONG ulFlags,
                                            ULONG* lpulObjType, IUnknown** lppUnk) = 0;
  virtual HRESULT PARVANE_STDCALL CompareEntryIDs(ULONG cbEntryID1, ENTRYID* lpEntryID1,
                                                  ULONG cbEntryID2, ENTRYID* lpEntryID2,
                                                  ULONG ulFlags, ULONG* lpulResult) = 0;
  virtual HRESULT PARVANE_STDCALL Advise(ULONG cbEntryID, ENTRYID* lpEntryID, ULONG ulEventMask,
                                         IMAPIAdviseSink* lpAdviseSink,
                                         ULONG_PTR* lpulConnection) = 0;
  virtual HRESULT PARVANE_STDCALL Unadvise(ULONG_PTR ulConnection) = 0;
  virtual HRESULT PARVANE_STDCALL CreateOneOff(LPTSTR lpszName, LPTSTR lpszAdrType,
                                               LPTSTR lpszAddress, ULONG ulFlags,
                                               ULONG* lpcbEntryID, ENTRYID** lppEntryID) = 0;
  virtual HRESULT PARVANE_STDCALL NewEntry(ULONG_PTR ulUIParam, ULONG ulFlags, ULONG cbEIDContainer,
                                           ENTRYID* lpEIDContainer, ULONG cbEIDNewEntryTpl,
                                           ENTRYID* lpEIDNewEntryTpl, ULONG* lpcbEIDNewEntry,
                                           ENTRYID** lppEIDNewEntry) = 0;
  virtual HRESULT PARVANE_STDCALL ResolveName(ULONG_PTR ulUIParam, ULONG ulFlags,
                                              LPTSTR lpszNewEntryTitle, ADRLIST* lpAdrList) = 0;
  virtual HRESULT PARVANE_STDCALL Address(ULONG_PTR* lpulUIParam, ADRPARM* lpAdrParms,
                                          ADRLIST** lppAdrList) = 0;
  virtual HRESULT PARVANE_STDCALL Details(ULONG_PTR* lpulUIParam, LPFNDISMISS lpfnDismiss,
                                          void* lpvDismissContext, ULONG cbEntryID,
                                          ENTRYID* lpEntryID, LPFNBUTTON lpfButtonCallback,
                                          void* lpvButtonContext, LPTSTR lpszButtonText,
                                          ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL RecipOptions(ULONG_PTR ulUIParam, ULONG ulFlags,
                                               ADRENTRY* lpRecip) = 0;
  virtual HRESULT PARVANE_STDCALL QueryDefaultRecipOpt(LPTSTR lpszAdrType, ULONG ulFlags,
                                                       ULONG* lpcValues,
                                                       SPropValue** lppOptions) = 0;
  virtual HRESULT PARVANE_STDCALL GetPAB(ULONG* lpcbEntryID, ENTRYID** lppEntryID) = 0;
  virtual HRESULT PARVANE_STDCALL SetPAB(ULONG cbEntryID, ENTRYID* lpEntryID) = 0;
  virtual HRESULT PARVANE_STDCALL GetDefaultDir(ULONG* lpcbEntryID, ENTRYID** lppEntryID) = 0;
  virtual HRESULT PARVANE_STDCALL SetDefaultDir(ULONG cbEntryID, ENTRYID* lpEntryID) = 0;
  virtual HRESULT PARVANE_STDCALL GetSearchPath(ULONG ulFlags, SRowSet** lppSearchPath) = 0;
  virtual HRESULT PARVANE_STDCALL SetSearchPath(ULONG ulFlags, SRowSet* lpSearchPath) = 0;
  virtual HRESULT PARVANE_STDCALL PrepareRecips(ULONG ulFlags, SPropTagArray* lpPropTagArray,
                                                ADRLIST* lpRecipList) = 0;

 protected:
  ~IAddrBook() = default;
};

}  // namespace parvane::mapi
