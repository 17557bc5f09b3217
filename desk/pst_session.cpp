#include "desk/pst_session.h"

#include <cstring>

#include "desk/mapi_run.h"
#include "desk/pst_account.h"
#include "mapi/diagnostics.h"
#include "mapi/mapi.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using mapi::ComPointer;
using mapi::Succeeded;
using mapi::ToTString;
using platform::Result;
using platform::Status;
using platform::StatusCode;

constexpr const char* kService = "MSUPST MS";

void DeleteProfile() {
  ComPointer<mapi::IProfAdmin> profiles;
  mapi::MAPIAdminProfiles(0, profiles.Put());
  if (profiles) profiles->DeleteProfile(ToTString(kListProfile), 0);
}

}  // namespace

Status MapiFailure(std::u16string_view path, std::string_view otherwise, mapi::HRESULT result) {
  const mapi::Failure& failure = mapi::LastFailure();
  if (failure.result != 0 && !failure.text.empty()) return {StatusCode::kIoError, failure.text};
  std::string text = platform::PathForDisplay(path) + ": " + std::string(otherwise);
  if (mapi::Failed(result)) text += " (" + ResultText(result) + ")";
  return {StatusCode::kIoError, std::move(text)};
}

const mapi::SPropValue* FindProperty(const mapi::SRow& row, mapi::ULONG tag) {
  for (mapi::ULONG i = 0; i < row.cValues; ++i) {
    if (row.lpProps[i].ulPropTag == tag) return &row.lpProps[i];
  }
  return nullptr;
}

std::u16string TextOf(const mapi::SPropValue* property) {
  return property && property->Value.lpszW ? std::u16string(property->Value.lpszW)
                                           : std::u16string();
}

Result<PstSession> PstSession::Open(std::u16string_view path, Access access) {
  PstSession session;
  session._path = path;
  if (Status status = session.LogOn(path); !status.ok()) return status;
  if (Status status = session.OpenStore(access); !status.ok()) return status;
  return session;
}

Status PstSession::LogOn(std::u16string_view path) {
  ComPointer<mapi::IProfAdmin> profiles;
  mapi::HRESULT result = mapi::MAPIAdminProfiles(0, profiles.Put());
  if (!profiles) return MapiFailure(path, "MAPI gives no profiles", result);
  // One that a killed run has left serves as well: its first service is pointed at this file below.
  profiles->CreateProfile(ToTString(kListProfile), nullptr, 0, 0);
  ComPointer<mapi::IMsgServiceAdmin> services;
  profiles->AdminServices(ToTString(kListProfile), nullptr, 0, 0, services.Put());
  if (!services) return MapiFailure(path, "MAPI gives no message services");
  services->CreateMsgService(ToTString(kService), ToTString(kService), 0, 0);

  ComPointer<mapi::IMAPITable> table;
  services->GetMsgServiceTable(0, table.Put());
  if (!table) return MapiFailure(path, "MAPI lists no message services");
  mapi::SizedSPropTagArray<1> columns = {1, {mapi::PR_SERVICE_UID}};
  table->SetColumns(columns.get(), 0);
  mapi::RowSet rows;
  table->QueryRows(1, 0, rows.Put());
  const mapi::SPropValue* uid =
      rows.size() == 1 ? FindProperty(rows[0], mapi::PR_SERVICE_UID) : nullptr;
  if (!uid || uid->Value.bin.cb != sizeof(mapi::MAPIUID))
    return MapiFailure(path, "MAPI has no service for personal folders");
  mapi::MAPIUID service;
  std::memcpy(&service, uid->Value.bin.lpb, sizeof service);

  mapi::SPropValue value = {};
  value.ulPropTag = mapi::PR_PST_PATH_W;
  value.Value.lpszW = _path.data();
  result = services->ConfigureMsgService(&service, 0, 0, 1, &value);
  if (!Succeeded(result)) return MapiFailure(path, "could not be opened", result);
  result =
      mapi::MAPILogonEx(0, ToTString(platform::Utf8ToUtf16(kListProfile).c_str()), ToTString(u""),
                        mapi::MAPI_UNICODE | mapi::MAPI_NO_MAIL | mapi::MAPI_EXTENDED |
                            mapi::MAPI_EXPLICIT_PROFILE | mapi::MAPI_NEW_SESSION,
                        _session.Put());
  return _session ? Status() : MapiFailure(path, "the log-on failed", result);
}

Status PstSession::OpenStore(Access access) {
  ComPointer<mapi::IMAPITable> table;
  _session->GetMsgStoresTable(0, table.Put());
  if (!table) return MapiFailure(_path, "MAPI lists no message stores");
  mapi::SizedSPropTagArray<2> columns = {2, {mapi::PR_ENTRYID, mapi::PR_MDB_PROVIDER}};
  table->SetColumns(columns.get(), 0);
  mapi::RowSet rows;
  table->QueryRows(1, 0, rows.Put());
  const mapi::SPropValue* entry =
      rows.size() == 1 ? FindProperty(rows[0], mapi::PR_ENTRYID) : nullptr;
  if (!entry) return MapiFailure(_path, "MAPI has no message store for it");
  // For reading only where that is enough, so that Outlook does not change what is only looked at.
  const mapi::ULONG flags = mapi::MDB_NO_MAIL | (access == Access::kWrite ? mapi::MDB_WRITE : 0);
  const mapi::HRESULT result = _session->OpenMsgStore(
      0, entry->Value.bin.cb, reinterpret_cast<mapi::ENTRYID*>(entry->Value.bin.lpb), nullptr,
      flags, _store.Put());
  return _store ? Status() : MapiFailure(_path, "could not be opened", result);
}

PstSession::~PstSession() {
  // From the inside out: the store lives in the session, the session in its profile.
  _store.Reset();
  if (!_session) return;
  _session->Logoff(0, 0, 0);
  _session.Reset();
  DeleteProfile();
}

ComPointer<mapi::IMAPIFolder> PstSession::OpenFolder(std::string entryId) const {
  mapi::ULONG type = 0;
  ComPointer<mapi::IMAPIFolder> folder;
  _store->OpenEntry(static_cast<mapi::ULONG>(entryId.size()),
                    reinterpret_cast<mapi::ENTRYID*>(entryId.data()), nullptr,
                    mapi::MAPI_BEST_ACCESS, &type, folder.PutUnknown());
  return folder;
}

Result<ComPointer<mapi::IMAPIFolder>> PstSession::TopFolder() const {
  mapi::SizedSPropTagArray<1> tags = {1, {mapi::PR_IPM_SUBTREE_ENTRYID}};
  mapi::ULONG count = 0;
  mapi::MapiBuffer<mapi::SPropValue> values;
  _store->GetProps(tags.get(), mapi::MAPI_UNICODE, &count, values.Put());
  if (count != 1 || values[0].ulPropTag != mapi::PR_IPM_SUBTREE_ENTRYID)
    return MapiFailure(_path, "has no top folder");
  mapi::ULONG type = 0;
  ComPointer<mapi::IMAPIFolder> folder;
  _store->OpenEntry(values[0].Value.bin.cb,
                    reinterpret_cast<mapi::ENTRYID*>(values[0].Value.bin.lpb), nullptr,
                    mapi::MAPI_BEST_ACCESS, &type, folder.PutUnknown());
  if (!folder) return MapiFailure(_path, "its top folder cannot be opened");
  return folder;
}

}  // namespace parvane::desk
