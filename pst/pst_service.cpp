#include "pst/pst_service.h"

#include <cstring>
#include <string_view>

#include "convert/properties/strings.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/entry_points.h"
#include "mapi/identifiers.h"
#include "mapi/results.h"
#include "mapi/tags.h"

namespace QuelmarMIMEEngineCommon {

using namespace parvane::mapi;
using parvane::engine::DestinationObserver;
using parvane::engine::DestinationStep;

namespace {

constexpr const char* kServiceName = "MSUPST MS";
constexpr std::u16string_view kServiceNameW = u"MSUPST MS";

constexpr ULONG kAdminServicesFlags = 8;
constexpr ULONG kLogonFlags = MAPI_UNICODE | MAPI_PASSWORD_UI | MAPI_NO_MAIL | MAPI_EXTENDED |
                              MAPI_EXPLICIT_PROFILE | MAPI_NEW_SESSION;
static_assert(kLogonFlags == 0x80028032);
constexpr ULONG kOpenStoreFlags = MDB_NO_MAIL | MAPI_BEST_ACCESS | MDB_WRITE;
static_assert(kOpenStoreFlags == 0x94);

SizedSPropTagArray<3> mscols = {3, {PR_SERVICE_UID, PR_SERVICE_NAME_W, PR_DISPLAY_NAME_W}};
SizedSPropTagArray<4> storePropTags = {
    4, {PR_ENTRYID, PR_DISPLAY_NAME_W, PR_DEFAULT_STORE, PR_MDB_PROVIDER}};
SizedSPropTagArray<2> defStorePropTags = {2, {PR_IPM_SUBTREE_ENTRYID, PR_DISPLAY_NAME_W}};

// The next row of a table, alone; empty at its end.
RowSet NextRow(IMAPITable& table) {
  RowSet rows;
  table.QueryRows(1, 0, rows.Put());
  return rows;
}

// The row's value in a column, or null when the row has none of that type there.
const SPropValue* ColumnOf(const RowSet& rows, ULONG column, ULONG tag) {
  const SRow& row = rows[0];
  return column < row.cValues && row.lpProps[column].ulPropTag == tag ? &row.lpProps[column]
                                                                      : nullptr;
}

// Each byte is extended with its sign: only ASCII widens correctly, and only ASCII is passed.
std::u16string Widen(const std::string& name) {
  std::u16string wide;
  for (const char c : name) wide += static_cast<char16_t>(static_cast<signed char>(c));
  return wide;
}

// The identifier of the profile's first personal-folders service; zeros when there is none.
MAPIUID FindService(IMsgServiceAdmin& services) {
  MAPIUID uid{};
  ComPointer<IMAPITable> table;
  services.GetMsgServiceTable(0, table.Put());
  if (!table) return uid;
  table->SetColumns(mscols.get(), 0);
  for (RowSet rows = NextRow(*table); rows.size() > 0; rows = NextRow(*table)) {
    const SPropValue* name = ColumnOf(rows, 1, PR_SERVICE_NAME_W);
    if (!name || !name->Value.lpszW || name->Value.lpszW != kServiceNameW) continue;
    const SPropValue* id = ColumnOf(rows, 0, PR_SERVICE_UID);
    if (id && id->Value.bin.cb >= sizeof uid) std::memcpy(&uid, id->Value.bin.lpb, sizeof uid);
    break;
  }
  return uid;
}

bool IsPersonalFolders(const RowSet& rows) {
  const SPropValue* provider = ColumnOf(rows, 3, PR_MDB_PROVIDER);
  return provider && provider->Value.bin.cb >= sizeof kPersonalFolderProvider &&
         std::memcmp(provider->Value.bin.lpb, &kPersonalFolderProvider,
                     sizeof kPersonalFolderProvider) == 0;
}

// The entry identifier of the session's first personal-folders store, whether or not it is the
// default store; null when there is none.
SBinary* FindStore(IMAPITable& table) {
  SBinary* entryId = nullptr;
  table.SetColumns(storePropTags.get(), 0);
  for (RowSet rows = NextRow(table); rows.size() > 0; rows = NextRow(table)) {
    if (!IsPersonalFolders(rows)) continue;
    if (const SPropValue* id = ColumnOf(rows, 0, PR_ENTRYID))
      OrvMAPIUtilities::CloneEntryId(id->Value.bin.cb, id->Value.bin.lpb, &entryId);
    break;
  }
  return entryId;
}

// Success without the object that was asked for is none.
void Tell(DestinationObserver* observer, DestinationStep step, HRESULT result, bool gotObject) {
  if (observer) observer->MapiAnswered(step, gotObject || Failed(result) ? result : E_FAIL);
}

ENTRYID* ToEntryId(BYTE* bytes) { return reinterpret_cast<ENTRYID*>(bytes); }

}  // namespace

inline namespace PSTService {

IMAPISession* CreatePST(const std::u16string& pstPath, const std::string& profileName,
                        DestinationObserver* observer) {
  if (pstPath.size() >= kPathLimit) return nullptr;
  ComPointer<IProfAdmin> profiles;
  const HRESULT administered = MAPIAdminProfiles(0, profiles.Put());
  Tell(observer, DestinationStep::kAdministerProfiles, administered, profiles.get());
  if (!profiles) return nullptr;

  const LPTSTR name = ToTString(profileName.c_str());
  profiles->CreateProfile(name, nullptr, 0, 0);
  ComPointer<IMsgServiceAdmin> services;
  profiles->AdminServices(name, nullptr, 0, kAdminServicesFlags, services.Put());
  if (services) {
    services->CreateMsgService(ToTString(kServiceName), ToTString(kServiceName), 0, 0);
    MAPIUID uid = FindService(*services.get());
    SPropValue path{};
    path.ulPropTag = PR_PST_PATH_W;
    path.Value.lpszW = const_cast<char16_t*>(pstPath.c_str());
    const HRESULT configured = services->ConfigureMsgService(&uid, 0, 0, 1, &path);
    Tell(observer, DestinationStep::kConfigureService, configured, true);
  }

  IMAPISession* session = nullptr;
  const HRESULT loggedOn =
      MAPILogonEx(0, ToTString(Widen(profileName).c_str()), ToTString(u""), kLogonFlags, &session);
  Tell(observer, DestinationStep::kLogOn, loggedOn, session);
  return session;
}

IMsgStore* OpenDefaultMsgStore(IMAPISession* session, DestinationObserver* observer) {
  if (!session) return nullptr;
  ComPointer<IMAPITable> table;
  session->GetMsgStoresTable(0, table.Put());
  SBinary* entryId = table ? FindStore(*table.get()) : nullptr;
  IMsgStore* store = nullptr;
  // Also without an identifier, which then opens nothing.
  const HRESULT opened = session->OpenMsgStore(0, entryId ? entryId->cb : 0,
                                               entryId ? ToEntryId(entryId->lpb) : nullptr, nullptr,
                                               kOpenStoreFlags, &store);
  Tell(observer, DestinationStep::kOpenStore, opened, store);
  if (observer && store) observer->StoreOpened(*store);
  OrvMAPIUtilities::DeleteEntryId(&entryId);
  return store;
}

IMAPIFolder* GetRootFolder(IMsgStore* store, ULONG openFlags, DestinationObserver* observer) {
  if (!store) return nullptr;
  ULONG count = 0;
  MapiBuffer<SPropValue> properties;
  store->GetProps(defStorePropTags.get(), MAPI_UNICODE, &count, properties.Put());
  if (!properties || count == 0 || properties[0].ulPropTag != PR_IPM_SUBTREE_ENTRYID)
    return nullptr;
  ULONG objectType = 0;
  ComPointer<IMAPIFolder> folder;
  const HRESULT opened =
      store->OpenEntry(properties[0].Value.bin.cb, ToEntryId(properties[0].Value.bin.lpb), nullptr,
                       openFlags, &objectType, folder.PutUnknown());
  Tell(observer, DestinationStep::kOpenTopFolder, opened, folder.get());
  return folder.Detach();
}

void CleanupTempProfiles(const std::string& profileName) {
  ComPointer<IProfAdmin> profiles;
  MAPIAdminProfiles(0, profiles.Put());
  if (profiles) profiles->DeleteProfile(ToTString(profileName.c_str()), 0);
}

}  // namespace PSTService

}  // namespace QuelmarMIMEEngineCommon
