// IProfAdmin and IMsgServiceAdmin: profiles and the message services in them.
#pragma once

#include "mapi/property_object.h"
#include "mapi/table.h"

namespace parvane::mapi {

class IMsgServiceAdmin : public IUnknown {
 public:
  virtual HRESULT PARVANE_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags,
                                               MAPIERROR** lppMAPIError) = 0;
  virtual HRESULT PARVANE_STDCALL GetMsgServiceTable(ULONG ulFlags, IMAPITable** lppTable) = 0;
  virtual HRESULT PARVANE_STDCALL CreateMsgService(LPTSTR lpszService, LPTSTR lpszDisplayName,
                                                   ULONG_PTR ulUIParam, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL DeleteMsgService(MAPIUID* lpUID) = 0;
  virtual HRESULT PARVANE_STDCALL CopyMsgService(MAPIUID* lpUID, LPTSTR lpszDisplayName,
                                                 const IID* lpInterfaceToCopy,
                                                 const IID* lpInterfaceDst, void* lpObjectDst,
                                                 ULONG_PTR ulUIParam, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL RenameMsgService(MAPIUID* lpUID, ULONG ulFlags,
                                                   LPTSTR lpszDisplayName) = 0;
  virtual HRESULT PARVANE_STDCALL ConfigureMsgService(MAPIUID* lpUID, ULONG_PTR ulUIParam,
                                                      ULONG ulFlags, ULONG cValues,
                                                      SPropValue* lpProps) = 0;
  virtual HRESULT PARVANE_STDCALL OpenProfileSection(MAPIUID* lpUID, const IID* lpInterface,
                                                     ULONG ulFlags, IProfSect** lppProfSect) = 0;
  virtual HRESULT PARVANE_STDCALL MsgServiceTransportOrder(ULONG cUID, MAPIUID* lpUIDList,
                                                           ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL AdminProviders(MAPIUID* lpUID, ULONG ulFlags,
                                                 IProviderAdmin** lppProviderAdmin) = 0;
  virtual HRESULT PARVANE_STDCALL SetPrimaryIdentity(MAPIUID* lpUID, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL GetProviderTable(ULONG ulFlags, IMAPITable** lppTable) = 0;

 protected:
  ~IMsgServiceAdmin() = default;
};

class IProfAdmin : public IUnknown {
 public:
  virtual HRESULT PARVANE_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags,
                                               MAPIERROR** lppMAPIError) = 0;
  virtual HRESULT PARVANE_STDCALL GetProfileTable(ULONG ulFlags, IMAPITable** lppTable) = 0;
  virtual HRESULT PARVANE_STDCALL CreateProfile(LPTSTR lpszProfileName, LPTSTR lpszPassword,
                                                ULONG_PTR ulUIParam, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL DeleteProfile(LPTSTR lpszProfileName, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL ChangeProfilePassword(LPTSTR lpszProfileName,
                                                        LPTSTR lpszOldPassword,
                                                        LPTSTR lpszNewPassword, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL CopyProfile(LPTSTR lpszOldProfileName, LPTSTR lpszOldPassword,
                                              LPTSTR lpszNewProfileName, ULONG_PTR ulUIParam,
                                              ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL RenameProfile(LPTSTR lpszOldProfileName, LPTSTR lpszOldPassword,
                                                LPTSTR lpszNewProfileName, ULONG_PTR ulUIParam,
                                                ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL SetDefaultProfile(LPTSTR lpszProfileName, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL AdminServices(LPTSTR lpszProfileName, LPTSTR lpszPassword,
                                                ULONG_PTR ulUIParam, ULONG ulFlags,
                                                IMsgServiceAdmin** lppServiceAdmin) = 0;

 protected:
  ~IProfAdmin() = default;
};

}  // namespace parvane::mapi
