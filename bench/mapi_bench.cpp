// What the built-in MAPI costs, seen from its callers: saving mail, long streams, reading lists.
// Files are written to the temporary folder.
#include <cstring>
#include <string>

#include <benchmark/benchmark.h>

#include "mapi/builtin_entry_points.h"
#include "mapi/com_pointer.h"
#include "mapi/mapi.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/system.h"
#include "platform/text.h"

namespace {

using namespace parvane::mapi;
namespace platform = parvane::platform;

// A session on a new file.
class Mail {
 public:
  Mail() {
    SelectEntryPoints(BuiltinEntryPoints());
    MAPIInitialize(nullptr);
    _path = platform::JoinPath(
        platform::TemporaryFolder(),
        platform::Utf8ToUtf16("parvane-bench-" + std::to_string(platform::ProcessIdentifier())));
    (void)platform::FileSystem::Default().Remove(_path);
    ComPointer<IProfAdmin> admin;
    MAPIAdminProfiles(0, admin.Put());
    admin->CreateProfile(ToTString("bench"), nullptr, 0, 0);
    ComPointer<IMsgServiceAdmin> services;
    admin->AdminServices(ToTString("bench"), nullptr, 0, 0, services.Put());
    services->CreateMsgService(ToTString("MSUPST MS"), nullptr, 0, 0);
    ComPointer<IMAPITable> table;
    services->GetMsgServiceTable(0, table.Put());
    SizedSPropTagArray<1> columns{1, {PR_SERVICE_UID}};
    table->SetColumns(columns.get(), 0);
    RowSet rows;
    table->QueryRows(1, 0, rows.Put());
    MAPIUID uid;
    std::memcpy(&uid, rows[0].lpProps[0].Value.bin.lpb, sizeof uid);
    SPropValue path{PR_PST_PATH_W, 0, {}};
    path.Value.lpszW = _path.data();
    services->ConfigureMsgService(&uid, 0, 0, 1, &path);

    MAPILogonEx(0, ToTString("bench"), nullptr, MAPI_EXTENDED, _session.Put());
    _session->GetMsgStoresTable(0, table.Put());
    columns = {1, {PR_ENTRYID}};
    table->SetColumns(columns.get(), 0);
    table->QueryRows(1, 0, rows.Put());
    const SBinary id = rows[0].lpProps[0].Value.bin;
    _session->OpenMsgStore(0, id.cb, reinterpret_cast<ENTRYID*>(id.lpb), nullptr, MDB_WRITE,
                           _store.Put());
    columns = {1, {PR_IPM_SUBTREE_ENTRYID}};
    ULONG count = 0;
    MapiBuffer<SPropValue> top;
    _store->GetProps(columns.get(), 0, &count, top.Put());
    _store->OpenEntry(top->Value.bin.cb, reinterpret_cast<ENTRYID*>(top->Value.bin.lpb), nullptr,
                      MAPI_MODIFY, nullptr, folder.PutUnknown());
    _session->OpenAddressBook(0, nullptr, 0, _book.Put());
  }
  ~Mail() {
    folder.Reset();
    _book.Reset();
    _store.Reset();
    _session->Logoff(0, 0, 0);
    _session.Reset();
    ComPointer<IProfAdmin> admin;
    MAPIAdminProfiles(0, admin.Put());
    admin->DeleteProfile(ToTString("bench"), 0);
    MAPIUninitialize();
    (void)platform::FileSystem::Default().Remove(_path);
  }

  static void Set(IMAPIProp& object, ULONG tag, const char16_t* text) {
    SPropValue value{tag, 0, {}};
    value.Value.lpszW = const_cast<char16_t*>(text);
    object.SetProps(1, &value, nullptr);
  }
  static void Write(IMAPIProp& object, ULONG tag, std::string_view bytes) {
    ComPointer<IStream> stream;
    object.OpenProperty(tag, &IID_IStream, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY,
                        stream.PutUnknown());
    stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    stream->Commit(0);
  }
  void AddRecipient(IMessage& message) {
    ULONG size = 0;
    MapiBuffer<ENTRYID> id;
    _book->CreateOneOff(ToTString(u"Some Body"), ToTString(u"SMTP"),
                        ToTString(u"some.body@example.com"), MAPI_UNICODE, &size, id.Put());
    SPropValue values[] = {{PR_ENTRYID, 0, {}},
                           {PR_DISPLAY_NAME_W, 0, {}},
                           {PR_EMAIL_ADDRESS_W, 0, {}},
                           {PR_ADDRTYPE_W, 0, {}},
                           {PR_RECIPIENT_TYPE, 0, {}}};
    values[0].Value.bin = {size, reinterpret_cast<BYTE*>(id.get())};
    values[1].Value.lpszW = const_cast<char16_t*>(u"Some Body");
    values[2].Value.lpszW = const_cast<char16_t*>(u"some.body@example.com");
    values[3].Value.lpszW = const_cast<char16_t*>(u"SMTP");
    values[4].Value.ul = MAPI_TO;
    ADRLIST list{1, {{0, 5, values}}};
    message.ModifyRecipients(MODRECIP_ADD, &list);
  }
  // A mail of the usual kind; the result of its save.
  HRESULT SaveMail(int recipients, std::string_view body) {
    ComPointer<IMessage> message;
    folder->CreateMessage(nullptr, 0, message.Put());
    for (const ULONG tag :
         {PR_MESSAGE_CLASS_W, PR_SUBJECT_W, PR_INTERNET_MESSAGE_ID_W, PR_SENDER_NAME_W,
          PR_SENDER_EMAIL_ADDRESS_W, PR_SENT_REPRESENTING_NAME_W, PR_TRANSPORT_MESSAGE_HEADERS_W}) {
      Set(*message, tag, u"Re: some text of usual length for a header");
    }
    for (int i = 0; i < recipients; ++i) AddRecipient(*message);
    Write(*message, PR_BODY_W, body);
    return message->SaveChanges(FORCE_SAVE);
  }

  ComPointer<IMAPIFolder> folder;

 private:
  std::u16string _path;
  ComPointer<IMAPISession> _session;
  ComPointer<IMsgStore> _store;
  ComPointer<IAddrBook> _book;
};

void SaveMail(benchmark::State& state) {
  Mail mail;
  const std::string body(static_cast<std::size_t>(state.range(0)), 'b');
  for (auto _ : state) {
    if (mail.SaveMail(2, body) != S_OK) state.SkipWithError("not saved");
  }
  state.SetItemsProcessed(state.iterations());
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(SaveMail)->Arg(2'000)->Arg(20'000)->Arg(10'000'000);

void SaveRecipients(benchmark::State& state) {
  Mail mail;
  for (auto _ : state) {
    if (mail.SaveMail(static_cast<int>(state.range(0)), "b") != S_OK) {
      state.SkipWithError("not saved");
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(SaveRecipients)->Arg(50)->Arg(5'000);

void ReadContentsTable(benchmark::State& state) {
  Mail mail;
  constexpr int kMessages = 5'000;
  for (int i = 0; i < kMessages; ++i) mail.SaveMail(1, "b");
  for (auto _ : state) {
    ComPointer<IMAPITable> table;
    mail.folder->GetContentsTable(MAPI_UNICODE, table.Put());
    RowSet rows;
    ULONG read = 0;
    while (table->QueryRows(100, 0, rows.Put()) == S_OK && rows.size() != 0) read += rows.size();
    if (read != kMessages) state.SkipWithError("rows are missing");
  }
  state.SetItemsProcessed(state.iterations() * kMessages);
}
BENCHMARK(ReadContentsTable);

}  // namespace
