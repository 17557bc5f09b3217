#include <algorithm>

#include "mapi/builtin/object.h"
#include "mapi/builtin/profiles.h"
#include "mapi/builtin/table.h"
#include "mapi/builtin/values.h"
#include "mapi/constants.h"
#include "platform/system.h"

namespace parvane::mapi::builtin {
namespace {

// What the system's own service for personal folders says of itself: whoever looks for that one
// finds this.
constexpr char16_t kServiceLibrary[] = u"mspst.dll";
constexpr char16_t kServiceEntry[] = u"PSTServiceEntry";

// Services of a profile. They live in memory for as long as the profile does; what CreateMsgService
// makes has no file yet, and so no store: ConfigureMsgService names the file, and only then can a
// session open it. A profile holds services of personal folders alone.
class ServiceAdmin final : public ExplainedObject<IMsgServiceAdmin> {
 public:
  explicit ServiceAdmin(ProfilePtr profile) : _profile(std::move(profile)) {}

  bool Implements(const IID& iid) const override { return iid == IID_IMsgServiceAdmin; }

  HRESULT PARVANE_STDCALL GetMsgServiceTable(ULONG ulFlags, IMAPITable** lppTable) override {
    return Guarded([&]() -> HRESULT {
      if (!ClearOut(lppTable)) return MAPI_E_INVALID_PARAMETER;
      // A copy, so that a caller who deletes services while it reads the table reads on.
      std::vector<pstfile::PropertyList> rows;
      for (const Service& service : _profile->services) {
        const auto uid = std::as_bytes(std::span(&service.uid, 1));
        pstfile::PropertyList& row = rows.emplace_back();
        row.SetText(ToTag(PR_DISPLAY_NAME_W), service.displayName);
        row.SetBytes(ToTag(PR_INSTANCE_KEY), uid);
        row.SetScalar(ToTag(PR_RESOURCE_FLAGS),
                      &service == _profile->DefaultStore() ? SERVICE_DEFAULT_STORE : 0);
        row.SetText(ToTag(PR_SERVICE_DLL_NAME_W), kServiceLibrary);
        row.SetText(ToTag(PR_SERVICE_ENTRY_NAME_W), kServiceEntry);
        row.SetText(ToTag(PR_SERVICE_NAME_W), kServiceName);
        row.SetBytes(ToTag(PR_SERVICE_UID), uid);
      }
      return MakeTable(
          std::make_unique<ListRows>(
              std::vector<ULONG>{PR_DISPLAY_NAME_W, PR_INSTANCE_KEY, PR_RESOURCE_FLAGS,
                                 PR_SERVICE_DLL_NAME_W, PR_SERVICE_ENTRY_NAME_W, PR_SERVICE_NAME_W,
                                 PR_SERVICE_SUPPORT_FILES_W, PR_SERVICE_UID},
              std::move(rows)),
          ulFlags, lppTable);
    });
  }
  HRESULT PARVANE_STDCALL CreateMsgService(LPTSTR lpszService, LPTSTR lpszDisplayName, ULONG_PTR,
                                           ULONG ulFlags) override {
    return Guarded([&]() -> HRESULT {
      if (lpszService == nullptr) return MAPI_E_INVALID_PARAMETER;
      if (TextArgument(lpszService, ulFlags) != kServiceName) return MAPI_E_NOT_FOUND;
      Service service;
      // This method does not tell the id: callers look for it in the table, among services that may
      // have the same name.
      platform::FillRandom(std::as_writable_bytes(std::span(&service.uid, 1)));
      service.displayName = TextArgument(lpszDisplayName, ulFlags);
      if (service.displayName.empty()) service.displayName = kProviderDisplay;
      _profile->services.push_back(std::move(service));
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL DeleteMsgService(MAPIUID* lpUID) override {
    return Guarded([&]() -> HRESULT {
      if (lpUID == nullptr) return MAPI_E_INVALID_PARAMETER;
      const Service* service = _profile->FindService(*lpUID);
      if (service == nullptr) return MAPI_E_NOT_FOUND;
      _profile->services.erase(_profile->services.begin() + (service - _profile->services.data()));
      return S_OK;
    });
  }
  // Below is what takes transports, address books or a second profile, of which there are none.
  HRESULT PARVANE_STDCALL CopyMsgService(MAPIUID*, LPTSTR, const IID*, const IID*, void*, ULONG_PTR,
                                         ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL RenameMsgService(MAPIUID* lpUID, ULONG ulFlags,
                                           LPTSTR lpszDisplayName) override {
    return Guarded([&]() -> HRESULT {
      if (lpUID == nullptr || lpszDisplayName == nullptr) return MAPI_E_INVALID_PARAMETER;
      Service* service = _profile->FindService(*lpUID);
      if (service == nullptr) return MAPI_E_NOT_FOUND;
      service->displayName = TextArgument(lpszDisplayName, ulFlags);
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL ConfigureMsgService(MAPIUID* lpUID, ULONG_PTR, ULONG, ULONG cValues,
                                              SPropValue* lpProps) override {
    return Guarded([&]() -> HRESULT {
      if (lpUID == nullptr || (cValues != 0 && lpProps == nullptr)) {
        return MAPI_E_INVALID_PARAMETER;
      }
      Service* service = _profile->FindService(*lpUID);
      if (service == nullptr) return MAPI_E_NOT_FOUND;
      return ConfigureService(*service, {lpProps, cValues});
    });
  }
  HRESULT PARVANE_STDCALL OpenProfileSection(MAPIUID*, const IID*, ULONG,
                                             IProfSect** lppProfSect) override {
    return ClearOut(lppProfSect) ? MAPI_E_NO_SUPPORT : MAPI_E_INVALID_PARAMETER;
  }
  HRESULT PARVANE_STDCALL MsgServiceTransportOrder(ULONG, MAPIUID*, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL AdminProviders(MAPIUID*, ULONG,
                                         IProviderAdmin** lppProviderAdmin) override {
    return ClearOut(lppProviderAdmin) ? MAPI_E_NO_SUPPORT : MAPI_E_INVALID_PARAMETER;
  }
  HRESULT PARVANE_STDCALL SetPrimaryIdentity(MAPIUID*, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT PARVANE_STDCALL GetProviderTable(ULONG, IMAPITable** lppTable) override {
    return ClearOut(lppTable) ? MAPI_E_NO_SUPPORT : MAPI_E_INVALID_PARAMETER;
  }

 private:
  ProfilePtr _profile;
};

}  // namespace

IMsgServiceAdmin* NewServiceAdmin(ProfilePtr profile) {
  return new ServiceAdmin(std::move(profile));
}

}  // namespace parvane::mapi::builtin
