// Writes a PST with one note in it through Extended MAPI, without any mail to read: write_note
// OUT.pst
#include <cstdio>
#include <cstring>

#include "mapi/builtin_entry_points.h"
#include "mapi/com_pointer.h"
#include "mapi/mapi.h"
#include "platform/path.h"

using namespace parvane::mapi;

namespace {

constexpr const char* kProfile = "write_note";

// A profile with one personal-folder service, which makes the file where it is missing.
bool MakeProfile(IProfAdmin& profiles, std::u16string& pst) {
  profiles.DeleteProfile(ToTString(kProfile), 0);
  profiles.CreateProfile(ToTString(kProfile), nullptr, 0, 0);
  ComPointer<IMsgServiceAdmin> services;
  profiles.AdminServices(ToTString(kProfile), nullptr, 0, 0, services.Put());
  if (!services) return false;
  services->CreateMsgService(ToTString("MSUPST MS"), ToTString("MSUPST MS"), 0, 0);
  ComPointer<IMAPITable> table;
  services->GetMsgServiceTable(0, table.Put());
  SizedSPropTagArray<1> columns = {1, {PR_SERVICE_UID}};
  table->SetColumns(columns.get(), 0);
  RowSet rows;
  table->QueryRows(1, 0, rows.Put());
  if (rows.size() != 1) return false;
  MAPIUID service;
  std::memcpy(&service, rows[0].lpProps[0].Value.bin.lpb, sizeof service);
  SPropValue path = {};
  path.ulPropTag = PR_PST_PATH_W;
  path.Value.lpszW = pst.data();
  return Succeeded(services->ConfigureMsgService(&service, 0, 0, 1, &path));
}

ComPointer<IMsgStore> OpenStore(IMAPISession& session) {
  ComPointer<IMAPITable> table;
  session.GetMsgStoresTable(0, table.Put());
  SizedSPropTagArray<1> columns = {1, {PR_ENTRYID}};
  table->SetColumns(columns.get(), 0);
  RowSet rows;
  table->QueryRows(1, 0, rows.Put());
  ComPointer<IMsgStore> store;
  if (rows.size() != 1) return store;
  const SBinary& entry = rows[0].lpProps[0].Value.bin;
  session.OpenMsgStore(0, entry.cb, reinterpret_cast<ENTRYID*>(entry.lpb), nullptr,
                       MDB_NO_MAIL | MDB_WRITE, store.Put());
  return store;
}

bool WriteNote(IMsgStore& store) {
  SizedSPropTagArray<1> tags = {1, {PR_IPM_SUBTREE_ENTRYID}};
  ULONG count = 0;
  MapiBuffer<SPropValue> top;
  store.GetProps(tags.get(), MAPI_UNICODE, &count, top.Put());
  ULONG type = 0;
  ComPointer<IMAPIFolder> above, folder;
  store.OpenEntry(top[0].Value.bin.cb, reinterpret_cast<ENTRYID*>(top[0].Value.bin.lpb), nullptr,
                  MAPI_BEST_ACCESS, &type, above.PutUnknown());
  if (!above) return false;
  above->CreateFolder(FOLDER_GENERIC, ToTString(u"Notes"), nullptr, nullptr,
                      MAPI_UNICODE | OPEN_IF_EXISTS, folder.Put());
  if (!folder) return false;
  ComPointer<IMessage> message;
  folder->CreateMessage(nullptr, 0, message.Put());
  if (!message) return false;
  char16_t subject[] = u"A note", body[] = u"Written without Outlook.";
  char16_t kind[] = u"IPM.Note";
  SPropValue values[3] = {};
  values[0].ulPropTag = PR_SUBJECT_W;
  values[0].Value.lpszW = subject;
  values[1].ulPropTag = PR_BODY_W;
  values[1].Value.lpszW = body;
  values[2].ulPropTag = PR_MESSAGE_CLASS_W;
  values[2].Value.lpszW = kind;
  message->SetProps(3, values, nullptr);
  return Succeeded(message->SaveChanges(0));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  std::u16string pst = parvane::platform::PathFromNative(argv[1]);
  SelectEntryPoints(BuiltinEntryPoints());
  if (!Succeeded(MAPIInitialize(nullptr))) return 3;
  bool written = false;
  {
    ComPointer<IProfAdmin> profiles;
    MAPIAdminProfiles(0, profiles.Put());
    ComPointer<IMAPISession> session;
    if (profiles && MakeProfile(*profiles, pst)) {
      MAPILogonEx(
          0, ToTString(u"write_note"), ToTString(u""),
          MAPI_UNICODE | MAPI_NO_MAIL | MAPI_EXTENDED | MAPI_EXPLICIT_PROFILE | MAPI_NEW_SESSION,
          session.Put());
    }
    if (session) {
      // The store goes before its session: closing it commits what is in it.
      if (ComPointer<IMsgStore> store = OpenStore(*session)) written = WriteNote(*store);
      session->Logoff(0, 0, 0);
    }
    session.Reset();
    if (profiles) profiles->DeleteProfile(ToTString(kProfile), 0);
  }
  MAPIUninitialize();
  std::puts(written ? "written" : "not written");
  return written ? 0 : 1;
}
