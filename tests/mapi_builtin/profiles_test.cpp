// Profiles, services and log-on, odd paths included.
#include <cstring>

#include "tests/mapi_builtin/session_fixture.h"

namespace parvane::mapi {
namespace {

class Profiles : public SessionTest {
 protected:
  void MakeProfile() {
    ASSERT_EQ(Admin()->CreateProfile(ToTString(kProfileName), nullptr, 0, 0), S_OK);
  }
  ULONG StoreRows() {
    ComPointer<IMAPITable> table;
    EXPECT_EQ(session->GetMsgStoresTable(0, table.Put()), S_OK);
    return ReadAllRows(*table).size();
  }
  HRESULT TryLogOn(const char16_t* name) {
    return MAPILogonEx(0, ToTString(name), nullptr, kLogonFlags, session.Put());
  }
  pstfile::Bytes Text(std::string_view text) {
    const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
    return {bytes, bytes + text.size()};
  }
};

TEST_F(Profiles, NothingWorksBeforeInitialisation) {
  MAPIUninitialize();
  ComPointer<IProfAdmin> admin;
  EXPECT_EQ(MAPIAdminProfiles(0, admin.Put()), MAPI_E_NOT_INITIALIZED);
  EXPECT_EQ(TryLogOn(u"test.profile"), MAPI_E_NOT_INITIALIZED);
  MAPIINIT_0 init{1, 0};
  EXPECT_EQ(MAPIInitialize(&init), MAPI_E_INVALID_PARAMETER);
  init = {0, 0x4000};
  EXPECT_EQ(MAPIInitialize(&init), MAPI_E_UNKNOWN_FLAGS);
  init = {0, MAPI_NO_COINIT};
  EXPECT_EQ(MAPIInitialize(&init), S_OK);
}

TEST_F(Profiles, NamesAreCheckedAndUnique) {
  const auto admin = Admin();
  const std::string longest(64, 'n');
  struct Case {
    std::string name;
    HRESULT expected;
  } const cases[] = {
      {"", MAPI_E_INVALID_PARAMETER},
      {" a", MAPI_E_INVALID_PARAMETER},
      {"a ", MAPI_E_INVALID_PARAMETER},
      {longest + "n", MAPI_E_INVALID_PARAMETER},
      {longest, S_OK},
      {longest, MAPI_E_NO_ACCESS},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(admin->CreateProfile(ToTString(c.name.c_str()), nullptr, 0, 0), c.expected) << c.name;
  }
  EXPECT_EQ(admin->DeleteProfile(ToTString(longest.c_str()), 0), S_OK);
  EXPECT_EQ(admin->DeleteProfile(ToTString(longest.c_str()), 0), MAPI_E_NOT_FOUND);
  ComPointer<IMsgServiceAdmin> services;
  EXPECT_EQ(admin->AdminServices(ToTString("gone"), nullptr, 0, 0, services.Put()),
            MAPI_E_LOGON_FAILED);
  EXPECT_EQ(TryLogOn(u"gone"), MAPI_E_LOGON_FAILED);
  EXPECT_EQ(LastFailure().result, MAPI_E_LOGON_FAILED);
}

TEST_F(Profiles, ALeftoverProfileGainsASecondServiceAndTheFirstIsConfigured) {
  MakeProfile();
  ASSERT_EQ(NewService(*Services()), S_OK);
  ASSERT_EQ(Configure(*Services(), ServiceIds(*Services())[0], u"/mail/old.pst"), S_OK);

  EXPECT_EQ(Admin()->CreateProfile(ToTString(kProfileName), nullptr, 0, 0), MAPI_E_NO_ACCESS);
  const auto services = Services();
  ASSERT_EQ(NewService(*services), S_OK);
  const auto ids = ServiceIds(*services);
  ASSERT_EQ(ids.size(), 2u);
  ASSERT_EQ(Configure(*services, ids[0], path), S_OK);
  OpenSession();
  EXPECT_EQ(StoreRows(), 1u);  // the second service points nowhere
  MakeFolder(*top, u"Here");
  EXPECT_EQ(Diagnostics().foldersCreated, 1u);
}

TEST_F(Profiles, SeveralStoresListTheFirstAsDefault) {
  MakeProfile();
  const auto services = Services();
  for (const char16_t* file : {u"/mail/a.pst", u"/mail/b.pst"}) {
    ASSERT_EQ(NewService(*services), S_OK);
    ASSERT_EQ(Configure(*services, ServiceIds(*services).back(), file), S_OK);
  }
  ASSERT_EQ(TryLogOn(u"TEST.Profile"), S_OK);  // names ignore case
  ComPointer<IMAPITable> table;
  ASSERT_EQ(session->GetMsgStoresTable(MAPI_UNICODE, table.Put()), S_OK);
  const RowSet rows = ReadAllRows(*table);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(ColumnText(rows[1], PR_DISPLAY_NAME_W), u"b");
  EXPECT_EQ(FindColumn(rows[0], PR_DEFAULT_STORE)->Value.b, 1);
  EXPECT_EQ(FindColumn(rows[1], PR_DEFAULT_STORE)->Value.b, 0);
  EXPECT_EQ(std::memcmp(FindColumn(rows[1], PR_MDB_PROVIDER)->Value.bin.lpb,
                        &kPersonalFolderProvider, 16),
            0);
  // Entry ids: flags, wrapper, library name, provider, path.
  const SBinary id = FindColumn(rows[0], PR_ENTRYID)->Value.bin;
  ASSERT_EQ(id.cb, 54u + 12 * 2);
  EXPECT_EQ(std::memcmp(id.lpb + 22, "mspst.dll\0", 10), 0);
  EXPECT_EQ(std::memcmp(id.lpb + 36, &kPersonalFolderProvider, 16), 0);
}

TEST_F(Profiles, AProfileWithoutStoreStillLogsOn) {
  MakeProfile();
  const auto services = Services();
  MAPIUID zero{};
  EXPECT_EQ(Configure(*services, zero, path), MAPI_E_NOT_FOUND);
  EXPECT_EQ(services->CreateMsgService(ToTString("MSPST MS"), nullptr, 0, 0), MAPI_E_NOT_FOUND);
  ASSERT_EQ(NewService(*services), S_OK);
  MAPIUID id = ServiceIds(*services)[0];
  EXPECT_EQ(services->ConfigureMsgService(&id, 0, 0, 0, nullptr), MAPI_E_UNCONFIGURED);
  EXPECT_EQ(services->ConfigureMsgService(nullptr, 0, 0, 0, nullptr), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(services->RenameMsgService(nullptr, 0, nullptr), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(services->DeleteMsgService(nullptr), MAPI_E_INVALID_PARAMETER);
  EXPECT_TRUE(files.contents.empty());  // no file before there is a path
  ASSERT_EQ(TryLogOn(u"test.profile"), S_OK);
  EXPECT_EQ(StoreRows(), 0u);
  IMsgStore* none = reinterpret_cast<IMsgStore*>(1);
  EXPECT_EQ(session->OpenMsgStore(0, 0, nullptr, nullptr, 0x94, &none), MAPI_E_INVALID_ENTRYID);
  EXPECT_EQ(none, nullptr);
}

TEST_F(Profiles, AFileThatIsNoStoreIsNeverTouched) {
  MakeProfile();
  const auto services = Services();
  ASSERT_EQ(NewService(*services), S_OK);
  const MAPIUID id = ServiceIds(*services)[0];
  for (const std::string_view content :
       {std::string_view("x"), std::string_view("!BDN then junk")}) {
    files[path] = Text(content);
    EXPECT_TRUE(Failed(Configure(*services, id, path)));
    EXPECT_EQ(files[path], Text(content));
    EXPECT_TRUE(Failed(LastFailure().result));
    const std::string told = LastFailure().text;
    EXPECT_NE(told.find("/mail/out.pst"), std::string::npos);
    EXPECT_EQ(told.find("/mail/out.pst"), told.rfind("/mail/out.pst")) << told;
  }
  ASSERT_EQ(TryLogOn(u"test.profile"), S_OK);
  EXPECT_EQ(StoreRows(), 0u);

  files[path].clear();  // an empty file may become one
  EXPECT_EQ(Configure(*services, id, path), S_OK);
  EXPECT_GT(files[path].size(), 200'000u);
}

TEST_F(Profiles, ConfigurationNamesTheStoreAndTakesAnsiPaths) {
  MakeProfile();
  const auto services = Services();
  ASSERT_EQ(NewService(*services), S_OK);
  MAPIUID id = ServiceIds(*services)[0];
  SPropValue values[] = {
      AnsiValue(PR_PST_PATH, "/mail/out.pst"), TextValue(PR_DISPLAY_NAME_W, u"Archive"),
      TextValue(PR_COMMENT_W, u"since 1999"), LongValue(PR_PST_ENCRYPTION, PSTF_NO_ENCRYPTION)};
  ASSERT_EQ(services->ConfigureMsgService(&id, 0, 0, 4, values), S_OK);
  OpenSession();
  EXPECT_EQ(Get(*store, PR_DISPLAY_NAME_W).text(), u"Archive");
  EXPECT_EQ(Get(*store, PR_COMMENT_W).text(), u"since 1999");
  EXPECT_EQ(Get(*store, PR_ENTRYID).bytes(), Get(*store, PR_STORE_ENTRYID).bytes());
  EXPECT_EQ(Get(*store, PR_OBJECT_TYPE).number(), MAPI_STORE);
  EXPECT_TRUE(*Get(*store, PR_STORE_SUPPORT_MASK).number() & STORE_MODIFY_OK);
  EXPECT_EQ(Set(*store, LongValue(PR_STORE_SUPPORT_MASK, 1)), MAPI_E_COMPUTED);
  EXPECT_EQ(Set(*store, TextValue(PR_COMMENT_W, u"changed")), S_OK);
  Reopen();
  EXPECT_EQ(Get(*store, PR_COMMENT_W).text(), u"changed");
}

TEST_F(Profiles, AProfileInUseLivesOnUntilItsSessionEnds) {
  LogOn();
  EXPECT_EQ(Admin()->DeleteProfile(ToTString(kProfileName), 0), S_OK);
  EXPECT_EQ(Admin()->DeleteProfile(ToTString(kProfileName), 0), MAPI_E_NOT_FOUND);
  MakeFolder(*top, u"Still works");
}

TEST_F(Profiles, AStoreOpensOnceInASession) {
  LogOn();
  const Got id = Get(*store, PR_ENTRYID);
  ComPointer<IMsgStore> second;
  ASSERT_EQ(session->OpenMsgStore(0, id.value->Value.bin.cb, ToEntryId(id.value->Value.bin.lpb),
                                  nullptr, 0, second.Put()),
            S_OK);
  MakeFolder(*top, u"Seen by both");
  ComPointer<IMAPIFolder> root;
  ASSERT_EQ(second->OpenEntry(0, nullptr, nullptr, 0, nullptr, root.PutUnknown()), S_OK);
  ComPointer<IMAPITable> table;
  ASSERT_EQ(root->GetHierarchyTable(CONVENIENT_DEPTH | MAPI_UNICODE, table.Put()), S_OK);
  bool seen = false;
  for (const SRow& row : ReadAllRows(*table)) {
    if (ColumnText(row, PR_DISPLAY_NAME_W) != u"Seen by both") continue;
    seen = true;
    EXPECT_EQ(FindColumn(row, PR_DEPTH)->Value.ul, 1u);
  }
  EXPECT_TRUE(seen);
}

}  // namespace
}  // namespace parvane::mapi
