// Profiles and their message services. They live in this process only: nothing of the user's is
// touched, and nothing is left behind.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "mapi/profiles.h"

namespace parvane::mapi::builtin {

// The one kind of service there is: a Unicode personal folder file.
inline constexpr char16_t kServiceName[] = u"MSUPST MS";
inline constexpr char16_t kProviderDisplay[] = u"Personal Folders";

struct Service {
  MAPIUID uid{};
  std::u16string displayName;
  // Of the file behind it, once configured.
  std::u16string path;
  std::u16string storeName;
  std::vector<std::byte> recordKey;
  bool isConfigured() const { return !path.empty(); }
};

struct Profile {
  std::u16string name;
  std::vector<Service> services;
  int sessions = 0;
  bool deleted = false;  // goes with its last session

  Service* FindService(const MAPIUID& uid);
  // The first configured service is the profile's default store.
  const Service* DefaultStore() const;
};
using ProfilePtr = std::shared_ptr<Profile>;

// Names compare without regard to case; null when there is none.
ProfilePtr FindProfile(const std::u16string& name);

// Points the service at a file: opens the personal folder file that is there, or makes one where
// there is nothing or only an empty file. Any other file is refused and left alone.
HRESULT ConfigureService(Service& service, std::span<const SPropValue> values);

IProfAdmin* NewProfileAdmin();
IMsgServiceAdmin* NewServiceAdmin(ProfilePtr profile);

}  // namespace parvane::mapi::builtin
