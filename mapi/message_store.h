// IMsgStore: a file of folders and messages.
#pragma once

#include "mapi/folder.h"

namespace parvane::mapi {

class IMsgStore : public IMAPIProp {
 public:
  virtual HRESULT PARVANE_STDCALL Advise(ULONG cbEntryID, ENTRYID* lpEntryID, ULONG ulEventMask,
                                         IMAPIAdviseSink* lpAdviseSink,
                                         ULONG_PTR* lpulConnection) = 0;
  virtual HRESULT PARVANE_STDCALL Unadvise(ULONG_PTR ulConnection) = 0;
  virtual HRESULT PARVANE_STDCALL CompareEntryIDs(ULONG cbEntryID1, ENTRYID* lpEntryID1,
                                                  ULONG cbEntryID2, ENTRYID* lpEntryID2,
                                                  ULONG ulFlags, ULONG* lpulResult) = 0;
  virtual HRESULT PARVANE_STDCALL OpenEntry(ULONG cbEntryID, ENTRYID* lpEntryID,
                                            const IID* lpInterface, ULONG ulFlags,
                                            ULONG* lpulObjType, IUnknown** lppUnk) = 0;
  virtual HRESULT PARVANE_STDCALL SetReceiveFolder(LPTSTR lpszMessageClass, ULONG ulFlags,
                                                   ULONG cbEntryID, ENTRYID* lpEntryID) = 0;
  virtual HRESULT PARVANE_STDCALL GetReceiveFolder(LPTSTR lpszMessageClass, ULONG ulFlags,
                                                   ULONG* lpcbEntryID, ENTRYID** lppEntryID,
                                                   LPTSTR* lppszExplicitClass) = 0;
  virtual HRESULT PARVANE_STDCALL GetReceiveFolderTable(ULONG ulFlags, IMAPITable** lppTable) = 0;
  virtual HRESULT PARVANE_STDCALL StoreLogoff(ULONG* lpulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL AbortSubmit(ULONG cbEntryID, ENTRYID* lpEntryID,
                                              ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL GetOutgoingQueue(ULONG ulFlags, IMAPITable** lppTable) = 0;
  virtual HRESULT PARVANE_STDCALL SetLockState(IMessage* lpMessage, ULONG ulLockState) = 0;
  virtual HRESULT PARVANE_STDCALL FinishedMsg(ULONG ulFlags, ULONG cbEntryID,
                                              ENTRYID* lpEntryID) = 0;
  virtual HRESULT PARVANE_STDCALL NotifyNewMail(NOTIFICATION* lpNotification) = 0;

 protected:
  ~IMsgStore() = default;
};

}  // namespace parvane::mapi
