// Verbs for tests of the built-in MAPI, which use nothing but the published interfaces: log on to a
// file, make folders and messages, read them back.
#pragma once

#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "mapi/builtin/environment.h"
#include "mapi/builtin_entry_points.h"
#include "mapi/com_pointer.h"
#include "mapi/diagnostics.h"
#include "mapi/mapi.h"
#include "mapi/options.h"
#include "platform/text.h"
#include "tests/pstfile/ndb_memory_files.h"

namespace parvane::mapi {

// The tests' 8-bit strings are UTF-8 wherever they run.
inline const bool kAnsiIsUtf8 = (platform::SetAnsiCodePage(65001), true);

inline constexpr char kProfileName[] = "test.profile";
inline constexpr ULONG kLogonFlags = 0x80028032;

inline SPropValue LongValue(ULONG tag, ULONG number) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.ul = number;
  return value;
}
inline SPropValue TextValue(ULONG tag, const char16_t* text) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.lpszW = const_cast<char16_t*>(text);
  return value;
}
inline SPropValue AnsiValue(ULONG tag, const char* text) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.lpszA = const_cast<char*>(text);
  return value;
}
inline SPropValue BinaryValue(ULONG tag, const void* bytes, std::size_t size) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.bin = {static_cast<ULONG>(size), static_cast<BYTE*>(const_cast<void*>(bytes))};
  return value;
}
inline SPropValue TimeValue(ULONG tag, std::uint64_t ticks) {
  SPropValue value{};
  value.ulPropTag = tag;
  value.Value.ft = platform::FileTimeFromTicks(ticks);
  return value;
}

inline ENTRYID* ToEntryId(BYTE* bytes) { return reinterpret_cast<ENTRYID*>(bytes); }

// One property of an object, as returned.
struct Got {
  HRESULT result = 0;
  MapiBuffer<SPropValue> value;
  bool ok() const { return value && PropType(value->ulPropTag) != PT_ERROR; }
  SCODE error() const {
    return !value ? result : PropType(value->ulPropTag) == PT_ERROR ? value->Value.err : S_OK;
  }
  std::u16string text() const {
    return ok() && PropType(value->ulPropTag) == PT_UNICODE ? value->Value.lpszW : u"<none>";
  }
  std::string chars() const {
    return ok() && PropType(value->ulPropTag) == PT_STRING8 ? value->Value.lpszA : "<none>";
  }
  std::string bytes() const {
    if (!ok() || PropType(value->ulPropTag) != PT_BINARY) return "<none>";
    return {reinterpret_cast<const char*>(value->Value.bin.lpb), value->Value.bin.cb};
  }
  std::optional<ULONG> number() const {
    if (!ok()) return std::nullopt;
    return PropType(value->ulPropTag) == PT_BOOLEAN ? value->Value.b : value->Value.ul;
  }
  std::uint64_t ticks() const { return ok() ? platform::FileTimeTicks(value->Value.ft) : 1; }
};

inline Got Get(IMAPIProp& object, ULONG tag, ULONG flags = 0) {
  Got got;
  SizedSPropTagArray<1> tags{1, {tag}};
  ULONG count = 0;
  got.result = object.GetProps(tags.get(), flags, &count, got.value.Put());
  return got;
}
inline HRESULT Set(IMAPIProp& object, SPropValue value) {
  SPropProblemArray* problems = nullptr;
  const HRESULT result = object.SetProps(1, &value, &problems);
  const MapiBuffer<SPropProblemArray> freed(problems);
  if (result != S_OK || problems == nullptr) return result;
  return problems->aProblem[0].scode;
}

inline const SPropValue* FindColumn(const SRow& row, ULONG tag) {
  for (ULONG i = 0; i < row.cValues; ++i) {
    if (row.lpProps[i].ulPropTag == tag) return &row.lpProps[i];
  }
  return nullptr;
}
inline std::u16string ColumnText(const SRow& row, ULONG tag) {
  const SPropValue* value = FindColumn(row, tag);
  return value == nullptr ? u"<none>" : value->Value.lpszW;
}
inline RowSet ReadAllRows(IMAPITable& table) {
  RowSet rows;
  EXPECT_EQ(table.QueryRows(1000000, 0, rows.Put()), S_OK);
  return rows;
}

inline HRESULT WriteStream(IMAPIProp& object, ULONG tag, std::string_view bytes) {
  ComPointer<IStream> stream;
  HRESULT result = object.OpenProperty(tag, &IID_IStream, STGM_WRITE, MAPI_CREATE | MAPI_MODIFY,
                                       stream.PutUnknown());
  if (Succeeded(result)) {
    result = stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
  }
  if (Succeeded(result)) result = stream->Commit(0);
  return result;
}
inline std::string ReadStream(IMAPIProp& object, ULONG tag) {
  ComPointer<IStream> stream;
  if (Failed(object.OpenProperty(tag, &IID_IStream, 0, 0, stream.PutUnknown()))) return "<none>";
  std::string all;
  char buffer[5000];
  for (ULONG read = 1; read != 0;) {
    if (Failed(stream->Read(buffer, sizeof buffer, &read))) return "<failed>";
    all.append(buffer, read);
  }
  return all;
}
inline std::string BytesOf(std::u16string_view text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * 2};
}

class SessionTest : public ::testing::Test {
 protected:
  pstfile::MemoryFiles files;
  std::u16string path = u"/mail/out.pst";
  ComPointer<IMAPISession> session;
  ComPointer<IMsgStore> store;
  ComPointer<IMAPIFolder> top;
  std::shared_ptr<const StoreDiagnostics> record;

  void SetUp() override {
    builtin::TheEnvironment() = {};
    builtin::TheEnvironment().files = &files;
    SetBuiltinOptions({});
    ResetDiagnostics();
    SelectEntryPoints(BuiltinEntryPoints());
    ASSERT_EQ(MAPIInitialize(nullptr), S_OK);
  }
  // Whatever a test did, nothing may be left.
  void TearDown() override {
    LogOff();
    MAPIUninitialize();
    EXPECT_EQ(LiveObjects(), 0u);
    EXPECT_EQ(LiveBuffers(), 0u);
    builtin::TheEnvironment() = {};
  }

  static ComPointer<IProfAdmin> Admin() {
    ComPointer<IProfAdmin> admin;
    EXPECT_EQ(MAPIAdminProfiles(0, admin.Put()), S_OK);
    return admin;
  }
  static ComPointer<IMsgServiceAdmin> Services() {
    ComPointer<IMsgServiceAdmin> services;
    EXPECT_EQ(Admin()->AdminServices(ToTString(kProfileName), nullptr, 0, 8, services.Put()), S_OK);
    return services;
  }
  // The identifiers of the profile's services, in order.
  static std::vector<MAPIUID> ServiceIds(IMsgServiceAdmin& services) {
    ComPointer<IMAPITable> table;
    EXPECT_EQ(services.GetMsgServiceTable(0, table.Put()), S_OK);
    std::vector<MAPIUID> ids;
    for (const SRow& row : ReadAllRows(*table)) {
      const SPropValue* id = FindColumn(row, PR_SERVICE_UID);
      EXPECT_TRUE(id != nullptr && id->Value.bin.cb == sizeof(MAPIUID));
      std::memcpy(&ids.emplace_back(), id->Value.bin.lpb, sizeof(MAPIUID));
    }
    return ids;
  }
  static HRESULT Configure(IMsgServiceAdmin& services, MAPIUID id, const std::u16string& file) {
    SPropValue value = TextValue(PR_PST_PATH_W, file.c_str());
    return services.ConfigureMsgService(&id, 0, 0, 1, &value);
  }
  static HRESULT NewService(IMsgServiceAdmin& services) {
    return services.CreateMsgService(ToTString("MSUPST MS"), ToTString("MSUPST MS"), 0, 0);
  }

  // A profile with one service on `path`, a session, the store and its top folder.
  void LogOn() {
    ASSERT_EQ(Admin()->CreateProfile(ToTString(kProfileName), nullptr, 0, 0), S_OK);
    auto services = Services();
    ASSERT_EQ(NewService(*services), S_OK);
    ASSERT_EQ(Configure(*services, ServiceIds(*services).at(0), path), S_OK) << LastFailure().text;
    OpenSession();
  }
  void OpenSession(ULONG storeFlags = 0x94) {
    ASSERT_EQ(
        MAPILogonEx(0, ToTString(u"test.profile"), ToTString(u""), kLogonFlags, session.Put()),
        S_OK);
    ComPointer<IMAPITable> table;
    ASSERT_EQ(session->GetMsgStoresTable(0, table.Put()), S_OK);
    const RowSet rows = ReadAllRows(*table);
    ASSERT_GE(rows.size(), 1u);
    const SBinary id = FindColumn(rows[0], PR_ENTRYID)->Value.bin;
    ASSERT_EQ(session->OpenMsgStore(0, id.cb, ToEntryId(id.lpb), nullptr, storeFlags, store.Put()),
              S_OK)
        << LastFailure().text;
    record = DiagnosticsOf(*store);
    ASSERT_NE(record, nullptr);
    const Got subtree = mapi::Get(*store, PR_IPM_SUBTREE_ENTRYID);
    ASSERT_TRUE(subtree.ok());
    ULONG type = 0;
    ASSERT_EQ(store->OpenEntry(subtree.value->Value.bin.cb, ToEntryId(subtree.value->Value.bin.lpb),
                               nullptr, MAPI_BEST_ACCESS, &type, top.PutUnknown()),
              S_OK);
    ASSERT_EQ(type, MAPI_FOLDER);
  }
  HRESULT LogOff() {
    top.Reset();
    store.Reset();
    HRESULT result = S_OK;
    if (session) result = session->Logoff(0, 0, 0);
    session.Reset();
    if (auto admin = Admin()) admin->DeleteProfile(ToTString(kProfileName), 0);
    return result;
  }
  // A new session on the same file.
  void Reopen() {
    ASSERT_EQ(LogOff(), S_OK) << LastFailure().text;
    LogOn();
  }

  ComPointer<IMAPIFolder> MakeFolder(IMAPIFolder& parent, const char16_t* name,
                                     HRESULT expected = S_OK) {
    ComPointer<IMAPIFolder> folder;
    EXPECT_EQ(parent.CreateFolder(FOLDER_GENERIC, ToTString(name), nullptr, nullptr,
                                  MAPI_UNICODE | OPEN_IF_EXISTS, folder.Put()),
              expected)
        << LastFailure().text;
    return folder;
  }
  static ComPointer<IMessage> NewMessage(IMAPIFolder& folder, ULONG flags = 0) {
    ComPointer<IMessage> message;
    EXPECT_EQ(folder.CreateMessage(nullptr, flags, message.Put()), S_OK) << LastFailure().text;
    return message;
  }
  static ComPointer<IAttach> NewAttachment(IMessage& message, ULONG method,
                                           ULONG* number = nullptr) {
    ComPointer<IAttach> attach;
    ULONG unread = 0;
    EXPECT_EQ(message.CreateAttach(nullptr, 0, number ? number : &unread, attach.Put()), S_OK);
    if (method != NO_ATTACHMENT) {
      EXPECT_EQ(mapi::Set(*attach, LongValue(PR_ATTACH_METHOD, method)), S_OK);
    }
    return attach;
  }
  // The message inside, new.
  static ComPointer<IMessage> NewInner(IAttach& attach) {
    ComPointer<IMessage> inner;
    EXPECT_EQ(attach.OpenProperty(PR_ATTACH_DATA_OBJ, &IID_IMessage, 0, MAPI_CREATE | MAPI_MODIFY,
                                  inner.PutUnknown()),
              S_OK);
    return inner;
  }
  // The messages of a folder, opened one by one through its contents table.
  static std::vector<ComPointer<IMessage>> MessagesOf(IMAPIFolder& folder, ULONG access = 0,
                                                      ULONG tableFlags = 0) {
    ComPointer<IMAPITable> table;
    EXPECT_EQ(folder.GetContentsTable(tableFlags, table.Put()), S_OK);
    std::vector<ComPointer<IMessage>> messages;
    for (const SRow& row : ReadAllRows(*table)) {
      const SBinary id = FindColumn(row, PR_ENTRYID)->Value.bin;
      EXPECT_EQ(folder.OpenEntry(id.cb, ToEntryId(id.lpb), &IID_IMessage, access, nullptr,
                                 messages.emplace_back().PutUnknown()),
                S_OK)
          << LastFailure().text;
    }
    return messages;
  }
  ComPointer<IAddrBook> AddressBook() {
    ComPointer<IAddrBook> book;
    EXPECT_EQ(session->OpenAddressBook(0, nullptr, 0, book.Put()), S_OK);
    return book;
  }
  // Adds one recipient the way mail is imported: one row a call.
  static HRESULT AddRecipient(IAddrBook& book, IMessage& message, const char16_t* name,
                              const char16_t* address, ULONG type) {
    ULONG size = 0;
    MapiBuffer<ENTRYID> id;
    EXPECT_EQ(book.CreateOneOff(ToTString(name), ToTString(u"SMTP"), ToTString(address),
                                MAPI_UNICODE, &size, id.Put()),
              S_OK);
    SPropValue values[] = {BinaryValue(PR_ENTRYID, id.get(), size),
                           TextValue(PR_DISPLAY_NAME_W, name),
                           TextValue(PR_EMAIL_ADDRESS_W, address),
                           TextValue(PR_ADDRTYPE_W, u"SMTP"), LongValue(PR_RECIPIENT_TYPE, type)};
    ADRLIST list{1, {{0, 5, values}}};
    return message.ModifyRecipients(MODRECIP_ADD, &list);
  }
  // Of the store opened last.
  const StoreDiagnostics& Diagnostics() const { return *record; }
};

// Logged on, with a message to work on.
class MessageTest : public SessionTest {
 protected:
  ComPointer<IMessage> message;
  void SetUp() override {
    SessionTest::SetUp();
    LogOn();
    message = NewMessage(*top);
  }
  void TearDown() override {
    message.Reset();
    SessionTest::TearDown();
  }
};

}  // namespace parvane::mapi
