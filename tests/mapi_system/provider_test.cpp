// parvanemapi.dll as another program meets it: by the names of its exports and nothing else.
#include <cstring>
#include <string>

#include "mapi/mapi.h"
// Ours first, as in declarations_test.cpp. Of the system's MAPI only IMalloc is needed.
#include <gtest/gtest.h>
#include <objidl.h>
#include <windows.h>

namespace parvane::mapi {
namespace {

class Provider : public testing::Test {
 protected:
  void SetUp() override {
    _library = ::LoadLibraryA(".\\" PARVANE_PROVIDER);
    ASSERT_NE(_library, nullptr) << ::GetLastError();
  }
  template <typename Function>
  Function Find(const std::string& name, Function) const {
    const FARPROC found = ::GetProcAddress(_library, name.c_str());
    EXPECT_NE(found, nullptr) << name;
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(found));
  }
  void* Address(const std::string& name) const {
    return reinterpret_cast<void*>(::GetProcAddress(_library, name.c_str()));
  }

 private:
  HMODULE _library = nullptr;
};

using AllRows = HRESULT(PARVANE_STDCALL*)(IMAPITable*, SPropTagArray*, SRestriction*,
                                          SSortOrderSet*, LONG, SRowSet**);

TEST_F(Provider, AnswersToEveryNameTheSystemAsksFor) {
  for (const char* name :
       {"MAPIInitialize", "MAPIUninitialize", "MAPIAdminProfiles", "MAPILogonEx",
        "MAPIAllocateBuffer", "MAPIAllocateMore", "MAPIFreeBuffer", "MAPIOpenLocalFormContainer",
        "DllCanUnloadNow", "DllGetClassObject", "FGetComponentPath"}) {
    EXPECT_NE(Address(name), nullptr) << name;
  }
  const struct {
    std::string name;
    const char* size;
  } decorated[] = {{"FreeProws", "@4"},
                   {"FreePadrlist", "@4"},
                   {"ScInitMapiUtil", "@4"},
                   {"DeinitMapiUtil", "@0"},
                   {"HrQueryAllRows", "@24"},
                   {"HrThisThreadAdviseSink", "@8"},
                   {"MAPIGetDefaultMalloc", "@0"},
                   {"OpenStreamOnFile", "@24"},
                   {"WrapCompressedRTFStream", "@12"}};
  for (const auto& entry : decorated) {
    EXPECT_NE(Address(entry.name), nullptr) << entry.name;
    EXPECT_EQ(Address(entry.name), Address(entry.name + entry.size)) << entry.name;
  }
}

TEST_F(Provider, ReadsWholeTablesAndFreesTheirRows) {
  const auto initialize = Find("MAPIInitialize", EntryPoints{}.MAPIInitialize);
  const auto adminProfiles = Find("MAPIAdminProfiles", EntryPoints{}.MAPIAdminProfiles);
  const auto freeRows = Find("FreeProws@4", EntryPoints{}.FreeProws);
  const auto queryAllRows = Find("HrQueryAllRows@24", AllRows{});
  ASSERT_EQ(initialize(nullptr), 0);
  IProfAdmin* admin = nullptr;
  ASSERT_EQ(adminProfiles(0, &admin), 0);
  constexpr int kProfiles = 1203;  // more than are read at a time
  for (int i = 0; i < kProfiles; ++i)
    ASSERT_EQ(admin->CreateProfile(ToTString(std::to_string(i).c_str()), nullptr, 0, 0), 0);
  IMAPITable* table = nullptr;
  ASSERT_EQ(admin->GetProfileTable(0, &table), 0);

  SizedSPropTagArray<1> columns = {1, {PropTag(PT_STRING8, 0x3001)}};
  SRowSet* rows = nullptr;
  ASSERT_EQ(queryAllRows(table, columns.get(), nullptr, nullptr, 0, &rows), 0);
  ASSERT_EQ(rows->cRows, static_cast<ULONG>(kProfiles));
  EXPECT_STREQ(rows->aRow[1202].lpProps[0].Value.lpszA, "1202");
  freeRows(rows);

  EXPECT_EQ(queryAllRows(table, columns.get(), nullptr, nullptr, kProfiles, &rows), 0);
  freeRows(rows);
  EXPECT_EQ(static_cast<ULONG>(queryAllRows(table, nullptr, nullptr, nullptr, 700, &rows)),
            0x80040403u);
  EXPECT_EQ(rows, nullptr);
  SRestriction restriction{};
  EXPECT_NE(queryAllRows(table, nullptr, &restriction, nullptr, 0, &rows), 0)
      << "what a table cannot do is not passed over";
  table->Release();
  admin->Release();
  Find("MAPIUninitialize", EntryPoints{}.MAPIUninitialize)();
}

TEST_F(Provider, LendsMemoryThroughIMalloc) {
  using DefaultMalloc = IMalloc*(PARVANE_STDCALL*)();
  IMalloc* memory = Find("MAPIGetDefaultMalloc@0", DefaultMalloc{})();
  ASSERT_NE(memory, nullptr);
  auto* text = static_cast<char*>(memory->Alloc(4));
  std::memcpy(text, "abc", 4);
  text = static_cast<char*>(memory->Realloc(text, 100'000));
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(memory->GetSize(text), 100'000u);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(text) % 16, 0u);
  EXPECT_EQ(memory->Realloc(text, 0), nullptr);
  memory->Free(nullptr);
  EXPECT_EQ(memory->Alloc(static_cast<std::size_t>(-1)), nullptr);
}

}  // namespace
}  // namespace parvane::mapi
