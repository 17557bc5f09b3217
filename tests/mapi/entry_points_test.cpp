// The table of entry points and the diagnostics behind it.
#include "mapi/entry_points.h"

#include <gtest/gtest.h>

#include "mapi/diagnostics_recorder.h"
#include "mapi/results.h"
#include "mapi/tags.h"

namespace parvane::mapi {
namespace {

HRESULT PARVANE_STDCALL Answer(void*) { return 42; }

TEST(EntryPoints, AnUnchosenOrPartialTableFailsCleanly) {
  EntryPoints partial;
  partial.MAPIInitialize = Answer;
  SelectEntryPoints(partial);
  EXPECT_EQ(MAPIInitialize(nullptr), 42);

  SelectEntryPoints({});
  auto* const junk = reinterpret_cast<void*>(0x10);
  EXPECT_EQ(MAPIInitialize(nullptr), MAPI_E_NOT_INITIALIZED);
  MAPIUninitialize();
  auto* admin = static_cast<IProfAdmin*>(junk);
  EXPECT_EQ(MAPIAdminProfiles(0, &admin), MAPI_E_NOT_INITIALIZED);
  EXPECT_EQ(admin, nullptr);
  auto* session = static_cast<IMAPISession*>(junk);
  EXPECT_EQ(MAPILogonEx(0, nullptr, nullptr, 0, &session), MAPI_E_NOT_INITIALIZED);
  EXPECT_EQ(session, nullptr);
  void* buffer = junk;
  EXPECT_EQ(MAPIAllocateBuffer(1, &buffer), MAPI_E_NOT_INITIALIZED);
  EXPECT_EQ(buffer, nullptr);
  buffer = junk;
  EXPECT_EQ(MAPIAllocateMore(1, junk, &buffer), MAPI_E_NOT_INITIALIZED);
  EXPECT_EQ(buffer, nullptr);
  EXPECT_NE(MAPIFreeBuffer(nullptr), 0u);
  FreeProws(nullptr);
}

TEST(Diagnostics, KeepFirstAndLastFailureOfEachStore) {
  ResetDiagnostics();
  StoreDiagnostics a;
  RecordFailure(&a, MAPI_E_NOT_ENOUGH_DISK, "a.pst: disk full");
  RecordFailure(&a, MAPI_E_DISK_ERROR, "a.pst: second");
  RecordFailure(nullptr, MAPI_E_LOGON_FAILED, "no profile");
  EXPECT_EQ(a.firstFailure.text, "a.pst: disk full");
  EXPECT_EQ(a.lastFailure.result, MAPI_E_DISK_ERROR);
  EXPECT_EQ(LastFailure().result, MAPI_E_LOGON_FAILED);
  EXPECT_EQ(a.failures, 2u);
}

}  // namespace
}  // namespace parvane::mapi
