// IMAPISession: what a log-on gives.
#pragma once

#include "mapi/address_book.h"
#include "mapi/message_store.h"
#include "mapi/profiles.h"

namespace parvane::mapi {

class IMAPISession : public IUnknown {
 public:
  virtual HRESULT PARVANE_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags,
                                               MAPIERROR** lppMAPIError) = 0;
  virtual HRESULT PARVANE_STDCALL GetMsgStoresTable(ULONG ulFlags, IMAPITable** lppTable) = 0;
  virtual HRESULT PARVANE_STDCALL OpenMsgStore(ULONG_PTR ulUIParam, ULONG cbEntryID,
                                               ENTRYID* lpEntryID, const IID* lpInterface,
                                               ULONG ulFlags, IMsgStore** lppMDB) = 0;
  virtual HRESULT PARVANE_STDCALL OpenAddressBook(ULONG_PTR ulUIParam, const IID* lpInterface,
                                                  ULONG ulFlags, IAddrBook** lppAdrBook) = 0;
  virtual HRESULT PARVANE_STDCALL OpenProfileSection(MAPIUID* lpUID, const IID* lpInterface,
                                                     ULONG ulFlags, IProfSect** lppProfSect) = 0;
  virtual HRESULT PARVANE_STDCALL GetStatusTable(ULONG ulFlags, IMAPITable** lppTable) = 0;
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
  virtual HRESULT PARVANE_STDCALL MessageOptions(ULONG_PTR ulUIParam, ULONG ulFlags,
                                                 LPTSTR lpszAdrType, IMessage* lpMessage) = 0;
  virtual HRESULT PARVANE_STDCALL QueryDefaultMessageOpt(LPTSTR lpszAdrType, ULONG ulFlags,
                                                         ULONG* lpcValues,
                                                         SPropValue** lppOptions) = 0;
  virtual HRESULT PARVANE_STDCALL EnumAdrTypes(ULONG ulFlags, ULONG* lpcAdrTypes,
                                               LPTSTR** lpppszAdrTypes) = 0;
  virtual HRESULT PARVANE_STDCALL QueryIdentity(ULONG* lpcbEntryID, ENTRYID** lppEntryID) = 0;
  virtual HRESULT PARVANE_STDCALL Logoff(ULONG_PTR ulUIParam, ULONG ulFlags, ULONG ulReserved) = 0;
  virtual HRESULT PARVANE_STDCALL SetDefaultStore(ULONG ulFlags, ULONG cbEntryID,
                                                  ENTRYID* lpEntryID) = 0;
  virtual HRESULT PARVANE_STDCALL AdminServices(ULONG ulFlags,
                                                IMsgServiceAdmin** lppServiceAdmin) = 0;
  virtual HRESULT PARVANE_STDCALL ShowForm(ULONG_PTR ulUIParam, IMsgStore* lpMsgStore,
                                           IMAPIFolder* lpParentFolder, const IID* lpInterface,
                                           ULONG_PTR ulMessageToken, IMessage* lpMessageSent,
                                           ULONG ulFlags, ULONG ulMessageStatus,
                                           ULONG ulMessageFlags, ULONG ulAccess,
                                           char* lpszMessageClass) = 0;
  virtual HRESULT PARVANE_STDCALL PrepareForm(const IID* lpInterface, IMessage* lpMessage,
                                              ULONG_PTR* lpulMessageToken) = 0;

 protected:
  ~IMAPISession() = default;
};

}  // namespace parvane::mapi
