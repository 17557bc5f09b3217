#include "mapi/builtin/profiles.h"

#include <algorithm>

#include "mapi/builtin/object.h"
#include "mapi/builtin/table.h"
#include "mapi/builtin/values.h"
#include "mapi/constants.h"
#include "platform/system.h"
#include "platform/text.h"

namespace parvane::mapi::builtin {
namespace {

constexpr std::size_t kLongestProfileName = 64;
constexpr ULONG kDefaultProfile = PropTag(PT_BOOLEAN, 0x3D04);

std::vector<ProfilePtr>& Profiles() {
  static std::vector<ProfilePtr> profiles;
  return profiles;
}

bool IsProfileName(const std::u16string& name) {
  return !name.empty() && name.size() <= kLongestProfileName &&
         !platform::IsWhiteSpace(name.front()) && !platform::IsWhiteSpace(name.back());
}

// Passwords are accepted as long as there is none.
bool IsNoPassword(LPTSTR password, ULONG flags) { return TextArgument(password, flags).empty(); }

class ProfileAdmin final : public ExplainedObject<IProfAdmin> {
 public:
  bool Implements(const IID& iid) const override { return iid == IID_IProfAdmin; }

  HRESULT PARVANE_STDCALL GetProfileTable(ULONG ulFlags, IMAPITable** lppTable) override {
    return Guarded([&]() -> HRESULT {
      if (!ClearOut(lppTable)) return MAPI_E_INVALID_PARAMETER;
      std::vector<pstfile::PropertyList> rows;
      for (const ProfilePtr& profile : Profiles()) {
        pstfile::PropertyList& row = rows.emplace_back();
        row.SetText(ToTag(PR_DISPLAY_NAME_W), profile->name);
        row.SetBool(ToTag(kDefaultProfile), false);
      }
      return MakeTable(std::make_unique<ListRows>(
                           std::vector<ULONG>{PR_DISPLAY_NAME_W, kDefaultProfile}, std::move(rows)),
                       ulFlags, lppTable);
    });
  }
  HRESULT PARVANE_STDCALL CreateProfile(LPTSTR lpszProfileName, LPTSTR lpszPassword, ULONG_PTR,
                                        ULONG ulFlags) override {
    return Guarded([&]() -> HRESULT {
      const std::u16string name = TextArgument(lpszProfileName, ulFlags);
      if (!IsProfileName(name)) return MAPI_E_INVALID_PARAMETER;
      if (!IsNoPassword(lpszPassword, ulFlags)) return MAPI_E_NO_SUPPORT;
      if (FindProfile(name) != nullptr) return MAPI_E_NO_ACCESS;
      auto profile = std::make_shared<Profile>();
      profile->name = name;
      Profiles().push_back(std::move(profile));
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL DeleteProfile(LPTSTR lpszProfileName, ULONG ulFlags) override {
    return Guarded([&]() -> HRESULT {
      if (lpszProfileName == nullptr) return MAPI_E_INVALID_PARAMETER;
      const ProfilePtr profile = FindProfile(TextArgument(lpszProfileName, ulFlags));
      if (profile == nullptr) return MAPI_E_NOT_FOUND;
      // Sessions go on with what they hold; the name is free at once.
      profile->deleted = true;
      std::erase(Profiles(), profile);
      return S_OK;
    });
  }
  HRESULT PARVANE_STDCALL ChangeProfilePassword(LPTSTR, LPTSTR, LPTSTR, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL CopyProfile(LPTSTR, LPTSTR, LPTSTR, ULONG_PTR, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL RenameProfile(LPTSTR, LPTSTR, LPTSTR, ULONG_PTR, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL SetDefaultProfile(LPTSTR, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT PARVANE_STDCALL AdminServices(LPTSTR lpszProfileName, LPTSTR lpszPassword, ULONG_PTR,
                                        ULONG ulFlags,
                                        IMsgServiceAdmin** lppServiceAdmin) override {
    return Guarded([&]() -> HRESULT {
      if (!ClearOut(lppServiceAdmin) || lpszProfileName == nullptr) {
        return MAPI_E_INVALID_PARAMETER;
      }
      const ProfilePtr profile = FindProfile(TextArgument(lpszProfileName, ulFlags));
      if (profile == nullptr || !IsNoPassword(lpszPassword, ulFlags)) return MAPI_E_LOGON_FAILED;
      *lppServiceAdmin = NewServiceAdmin(profile);
      return S_OK;
    });
  }
};

}  // namespace

Service* Profile::FindService(const MAPIUID& uid) {
  const auto found = std::find_if(services.begin(), services.end(),
                                  [&uid](const Service& service) { return service.uid == uid; });
  return found == services.end() ? nullptr : &*found;
}

const Service* Profile::DefaultStore() const {
  const auto found = std::find_if(services.begin(), services.end(),
                                  [](const Service& service) { return service.isConfigured(); });
  return found == services.end() ? nullptr : &*found;
}

ProfilePtr FindProfile(const std::u16string& name) {
  for (const ProfilePtr& profile : Profiles()) {
    if (platform::EqualsIgnoreCase(profile->name, name)) return profile;
  }
  return nullptr;
}

IProfAdmin* NewProfileAdmin() { return new ProfileAdmin; }

}  // namespace parvane::mapi::builtin
