// Full disks, locked files, log-off in the middle: nobody is told a lie.
#include <algorithm>
#include <functional>

#include "mapi/builtin/memory.h"
#include "pstfile/ndb/encoding.h"
#include "tests/mapi_builtin/session_fixture.h"

namespace parvane::mapi {
namespace {

class Failures : public SessionTest {
 protected:
  HRESULT SaveOne(const char16_t* subject, std::size_t body = 0) {
    ComPointer<IMessage> message;
    HRESULT result = top->CreateMessage(nullptr, 0, message.Put());
    if (Failed(result)) return result;
    Set(*message, TextValue(PR_SUBJECT_W, subject));
    if (body != 0) WriteStream(*message, PR_BODY_W, std::string(body, 'b'));
    return message->SaveChanges(FORCE_SAVE);
  }
  static void SaveData(IAttach& attach) {
    EXPECT_EQ(WriteStream(attach, PR_ATTACH_DATA_BIN, std::string(200'000, 'd')), S_OK);
    EXPECT_EQ(attach.SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  }
  // Damages every block of the file that holds this text. Once more, and they are whole again.
  void FlipBlocksWith(std::u16string_view text) {
    if (_flips.empty()) {
      const auto bytes = std::as_bytes(std::span(text));
      pstfile::Bytes stored(bytes.begin(), bytes.end());
      pstfile::Encode(pstfile::CryptMethod::kPermute, 0, stored);
      const std::boyer_moore_searcher needle(stored.begin(), stored.end());
      const pstfile::Bytes& file = files[path];
      for (auto at = file.begin(); (at = std::search(at, file.end(), needle)) != file.end(); ++at) {
        _flips.push_back(static_cast<std::size_t>(at - file.begin()));
      }
    }
    EXPECT_FALSE(_flips.empty());
    for (const std::size_t at : _flips) files[path][at] ^= std::byte{1};
  }

 private:
  std::vector<std::size_t> _flips;
};

TEST_F(Failures, AfterAFullDiskNothingIsAcceptedAndWhatIsCommittedStands) {
  LogOn();
  ASSERT_EQ(SaveOne(u"first"), S_OK);
  ULONG flags = 0;
  ASSERT_EQ(store->StoreLogoff(&flags), S_OK);  // commits
  EXPECT_EQ(Diagnostics().messagesCommitted, 1u);
  files.diskSize = files[path].size();
  HRESULT result = S_OK;
  int accepted = 1;
  for (int i = 0; i < 100 && result == S_OK; ++i) {
    result = SaveOne(u"more", 200'000);
    if (result == S_OK) ++accepted;
  }
  EXPECT_EQ(result, MAPI_E_NOT_ENOUGH_DISK);
  EXPECT_EQ(SaveOne(u"later"), MAPI_E_NOT_ENOUGH_DISK);  // small enough, but latched
  ComPointer<IMessage> none;
  EXPECT_EQ(top->CreateMessage(nullptr, 0, none.Put()), MAPI_E_NOT_ENOUGH_DISK);
  EXPECT_TRUE(Diagnostics().latched);
  EXPECT_EQ(Diagnostics().firstFailure.result, MAPI_E_NOT_ENOUGH_DISK);
  EXPECT_NE(Diagnostics().firstFailure.text.find("/mail/out.pst"), std::string::npos);
  EXPECT_EQ(Diagnostics().messagesSaved, static_cast<unsigned>(accepted));
  LogOff();
  const std::uint64_t committed = Diagnostics().messagesCommitted;
  EXPECT_GE(committed, 1u);
  EXPECT_LE(committed, static_cast<unsigned>(accepted));
  files.diskSize = UINT64_MAX;
  LogOn();
  EXPECT_EQ(MessagesOf(*top).size(), committed);
}

// A write or flush fails: the call that met it says so, and so do the diagnostics, the only ones
// who can when it is met by the store's last Release; what was committed stands.
TEST_F(Failures, EveryFailingWriteOrFlushIsToldAndLeavesAFileThatOpens) {
  for (const bool flush : {false, true}) {
    std::size_t failures = 0;
    for (std::size_t at = 1; at < 60; at += flush ? 1 : 3) {
      SCOPED_TRACE((flush ? "flush " : "write ") + std::to_string(at));
      files.contents.clear();
      ResetDiagnostics();
      LogOn();
      ASSERT_EQ(SaveOne(u"first"), S_OK);
      ULONG flags = 0;
      ASSERT_EQ(store->StoreLogoff(&flags), S_OK);
      std::size_t& failing = flush ? files.failFlush : files.failWrite;
      failing = at;
      HRESULT told = S_OK;
      const auto note = [&](HRESULT result) { told = Failed(result) ? result : told; };
      for (int i = 0; i < 10; ++i) {
        note(SaveOne(u"next", 100'000));
        if (i % 3 == 2) note(store->StoreLogoff(&flags));
      }
      EXPECT_EQ(Failed(told), failing == 0);
      LogOff();
      const bool failed = failing == 0;
      failing = 0;
      EXPECT_EQ(Failed(Diagnostics().firstFailure.result), failed);
      if (failed) {
        ++failures;
        EXPECT_NE(Diagnostics().firstFailure.text.find("/mail/out.pst"), std::string::npos);
      }
      EXPECT_GE(Diagnostics().messagesCommitted, 1u);
      const std::uint64_t committed = Diagnostics().messagesCommitted;
      LogOn();
      EXPECT_GE(MessagesOf(*top).size(), committed);
      LogOff();
    }
    EXPECT_GT(failures, 5u);
  }
}

TEST_F(Failures, ACountOfMessagesIsOneOfMessagesNotOfSaves) {
  LogOn();
  const auto message = NewMessage(*top);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  ASSERT_EQ(Set(*message, LongValue(PR_IMPORTANCE, 2)), S_OK);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_EQ(Diagnostics().messagesSaved, 1u);
  EXPECT_EQ(Diagnostics().messagesCommitted, 0u);
  LogOff();
  EXPECT_EQ(Diagnostics().messagesCommitted, 1u);
}

TEST_F(Failures, ASizeLimitIsAFullStore) {
  BuiltinOptions options;
  options.sizeLimit = 2'000'000;
  SetBuiltinOptions(options);
  LogOn();
  HRESULT result = S_OK;
  for (int i = 0; i < 100 && result == S_OK; ++i) result = SaveOne(u"m", 100'000);
  EXPECT_EQ(result, MAPI_E_STORE_FULL);
  EXPECT_TRUE(Diagnostics().sizeLimitReached);
  EXPECT_EQ(SaveOne(u"small"), MAPI_E_STORE_FULL);
  LogOff();
  EXPECT_LE(files[path].size(), 2'000'000u);
}

TEST_F(Failures, AFullFolderIsToldBeforeAMessageIsMade) {
  builtin::TheEnvironment().storeOptions.tablePages = 163;
  LogOn();
  const auto full = MakeFolder(*top, u"Full");
  const auto early = NewMessage(*full);
  const std::u16string subject(200, u's');
  std::size_t saved = 0;
  ComPointer<IMessage> message;
  HRESULT result = full->CreateMessage(nullptr, 0, message.Put());
  for (; result == S_OK && saved < 1000; ++saved) {
    ASSERT_EQ(Set(*message, TextValue(PR_SUBJECT_W, subject.c_str())), S_OK);
    ASSERT_EQ(message->SaveChanges(FORCE_SAVE), S_OK);
    message.Reset();
    result = full->CreateMessage(nullptr, 0, message.Put());
  }
  EXPECT_EQ(result, MAPI_E_TABLE_TOO_BIG);
  EXPECT_GT(saved, 10u);
  EXPECT_EQ(Diagnostics().failures, 0u) << "an answer, no failure";
  EXPECT_EQ(early->SaveChanges(FORCE_SAVE), MAPI_E_TABLE_TOO_BIG);
  EXPECT_EQ(Diagnostics().failures, 1u);
  EXPECT_NE(Diagnostics().lastFailure.text.find("full"), std::string::npos);
  EXPECT_FALSE(Diagnostics().latched);
  EXPECT_EQ(SaveOne(u"elsewhere"), S_OK);
  EXPECT_EQ(full->CreateMessage(nullptr, MAPI_ASSOCIATED, message.Put()), S_OK)
      << "hidden messages have a table of their own";
  Reopen();
  const auto messages = MessagesOf(*MakeFolder(*top, u"Full"));
  ASSERT_EQ(messages.size(), saved);
  for (const auto& one : messages) EXPECT_EQ(Get(*one, PR_SUBJECT_W).text(), subject);
}

// A save that failed has given back what it was to write: half of a message must not pass for one.
TEST_F(Failures, WhatCouldNotBeSavedIsNotSavedLater) {
  LogOn();
  ASSERT_EQ(SaveOne(u"of the contents table"), S_OK);
  Reopen();
  FlipBlocksWith(u"of the contents table");
  const auto message = NewMessage(*top);
  ASSERT_EQ(Set(*message, TextValue(PR_SUBJECT_W, u"never")), S_OK);
  EXPECT_EQ(message->SaveChanges(FORCE_SAVE), MAPI_E_CORRUPT_STORE);
  FlipBlocksWith(u"");
  EXPECT_EQ(message->SaveChanges(FORCE_SAVE), MAPI_E_CORRUPT_STORE);
  EXPECT_EQ(SaveOne(u"another"), S_OK);
  EXPECT_EQ(MessagesOf(*top).size(), 2u);
}

TEST_F(Failures, WhatIsNotSavedTakesNoSpace) {
  LogOn();
  const auto message = NewMessage(*top);
  const auto again = NewAttachment(*message, ATTACH_BY_VALUE);
  for (int i = 0; i < 60; ++i) {
    SaveData(*again);
    SaveData(*NewAttachment(*NewMessage(*top), ATTACH_BY_VALUE));  // of a message never saved
    const auto attach = NewAttachment(*NewMessage(*top), ATTACH_EMBEDDED_MSG);
    const auto inner = NewInner(*attach);
    ASSERT_EQ(WriteStream(*inner, PR_BODY_W, std::string(200'000, 'i')), S_OK);
    ASSERT_EQ(inner->SaveChanges(FORCE_SAVE), S_OK);
    EXPECT_EQ(Get(*attach, PR_ATTACH_METHOD).number(), ATTACH_EMBEDDED_MSG);
    ASSERT_EQ(WriteStream(*message, PR_BODY_W, std::string(200'000, 'r')), S_OK);  // over the last
  }
  EXPECT_LT(files[path].size(), 6'000'000u);
}

TEST_F(Failures, AnAttachmentWhoseMessageWasNotSavedDoesNotPromiseOne) {
  LogOn();
  const auto message = NewMessage(*top);
  ULONG number = 0;
  auto attach = NewAttachment(*message, ATTACH_EMBEDDED_MSG, &number);
  NewInner(*attach);
  ASSERT_EQ(attach->SaveChanges(FORCE_SAVE), S_OK);
  ASSERT_EQ(message->SaveChanges(FORCE_SAVE), S_OK);
  attach.Reset();
  ASSERT_EQ(message->OpenAttach(number, nullptr, 0, attach.Put()), S_OK);
  EXPECT_EQ(Get(*attach, PR_ATTACH_METHOD).number(), NO_ATTACHMENT);
  // One by value without data has an empty value: readers want it.
  attach = NewAttachment(*message, ATTACH_BY_VALUE);
  ASSERT_EQ(attach->SaveChanges(FORCE_SAVE), S_OK);
  EXPECT_EQ(Get(*attach, PR_ATTACH_DATA_BIN).bytes(), "");
}

TEST_F(Failures, LogOffClosesTheFileWhateverStillLives) {
  LogOn();
  ASSERT_EQ(SaveOne(u"saved", 100'000), S_OK);
  auto message = NewMessage(*top);
  ASSERT_EQ(WriteStream(*message, PR_BODY_W, std::string(100'000, 'x')), S_OK);
  const auto attach = NewAttachment(*message, NO_ATTACHMENT);
  ComPointer<IStream> stream;
  ASSERT_EQ(attach->OpenProperty(PR_ATTACH_DATA_BIN, &IID_IStream, 0, MAPI_CREATE | MAPI_MODIFY,
                                 stream.PutUnknown()),
            S_OK);
  ASSERT_EQ(stream->Write(std::string(100'000, 'y').data(), 100'000, nullptr), S_OK);
  const auto saved = MessagesOf(*top).at(0);
  ComPointer<IMAPITable> contents;
  ASSERT_EQ(top->GetContentsTable(0, contents.Put()), S_OK);
  const auto book = AddressBook();
  const auto folder = top;
  EXPECT_EQ(files.locks[path], 1);
  EXPECT_EQ(LogOff(), S_OK);
  EXPECT_EQ(files.locks[path], 0);

  RowSet rows;
  ULONG count = 0;
  ComPointer<IMessage> none;
  EXPECT_TRUE(Failed(contents->QueryRows(1, 0, rows.Put())));
  EXPECT_TRUE(Failed(contents->GetRowCount(0, &count)));
  EXPECT_TRUE(Failed(folder->CreateMessage(nullptr, 0, none.Put())));
  EXPECT_TRUE(Failed(folder->SaveChanges(FORCE_SAVE)));
  EXPECT_TRUE(Failed(Get(*folder, PR_CONTENT_COUNT).result));
  EXPECT_TRUE(Failed(Set(*message, LongValue(PR_IMPORTANCE, 1))));
  EXPECT_TRUE(Failed(message->SaveChanges(FORCE_SAVE)));
  EXPECT_TRUE(Failed(attach->SaveChanges(FORCE_SAVE)));
  EXPECT_TRUE(Failed(stream->Write("z", 1, nullptr)));
  EXPECT_TRUE(Failed(stream->Commit(0)));
  EXPECT_TRUE(Failed(Get(*saved, PR_SUBJECT_W).result));
  EXPECT_TRUE(Failed(WriteStream(*saved, PR_BODY_W, "x")));
  // All others first: a new session on the file finds what was saved, and no more.
  LogOn();
  EXPECT_EQ(MessagesOf(*top).size(), 1u);
}

TEST_F(Failures, ASecondWriterIsToldThatTheFileIsLocked) {
  LogOn();
  ComPointer<IMAPISession> other;
  ASSERT_EQ(MAPILogonEx(0, ToTString(u"test.profile"), nullptr, kLogonFlags, other.Put()), S_OK);
  const Got id = Get(*store, PR_ENTRYID);
  ComPointer<IMsgStore> otherStore;
  ASSERT_EQ(other->OpenMsgStore(0, id.value->Value.bin.cb, ToEntryId(id.value->Value.bin.lpb),
                                nullptr, 0x94, otherStore.Put()),
            S_OK);
  EXPECT_EQ(files.locks[path], 0);  // reading takes no lock
  ASSERT_EQ(SaveOne(u"mine"), S_OK);
  EXPECT_EQ(Set(*otherStore, TextValue(PR_COMMENT_W, u"theirs")), MAPI_E_BUSY);
  EXPECT_EQ(LastFailure().result, MAPI_E_BUSY);
  EXPECT_NE(LastFailure().text.find("/mail/out.pst"), std::string::npos);
  otherStore.Reset();
  other->Logoff(0, 0, 0);
}

TEST_F(Failures, ReadingChangesNothing) {
  LogOn();
  ASSERT_EQ(SaveOne(u"s", 100'000), S_OK);
  ASSERT_EQ(LogOff(), S_OK);
  const pstfile::Bytes before = files[path];
  for (const bool readOnly : {false, true}) {
    BuiltinOptions options;
    options.readOnly = readOnly;
    SetBuiltinOptions(options);
    LogOn();
    files.writes = 0;
    const auto messages = MessagesOf(*top, MAPI_BEST_ACCESS);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(ReadStream(*messages[0], PR_BODY_W), std::string(100'000, 'b'));
    if (readOnly) {
      EXPECT_EQ(SaveOne(u"no"), MAPI_E_NO_ACCESS);
      EXPECT_EQ(Set(*top, TextValue(PR_COMMENT_W, u"no")), MAPI_E_NO_ACCESS);
      MakeFolder(*top, u"no", MAPI_E_NO_ACCESS);
      GUID set = PS_PUBLIC_STRINGS;
      MAPINAMEID name{&set, MNID_ID, {}};
      MAPINAMEID* names[] = {&name};
      MapiBuffer<SPropTagArray> tags;
      EXPECT_EQ(store->GetIDsFromNames(1, names, MAPI_CREATE, tags.Put()), MAPI_W_ERRORS_RETURNED);
      EXPECT_TRUE(*Get(*store, PR_STORE_SUPPORT_MASK).number() & STORE_READONLY);
    }
    EXPECT_EQ(files.locks[path], 0);
    LogOff();
    EXPECT_EQ(files.writes, 0u);
    EXPECT_EQ(files[path], before);
  }
}

TEST_F(Failures, AFileThatVanishedIsReported) {
  ASSERT_EQ(Admin()->CreateProfile(ToTString(kProfileName), nullptr, 0, 0), S_OK);
  const auto services = Services();
  ASSERT_EQ(NewService(*services), S_OK);
  ASSERT_EQ(Configure(*services, ServiceIds(*services)[0], path), S_OK);
  files.contents.clear();
  ASSERT_EQ(MAPILogonEx(0, ToTString(u"test.profile"), nullptr, kLogonFlags, session.Put()), S_OK);
  ComPointer<IMAPITable> table;
  ASSERT_EQ(session->GetMsgStoresTable(0, table.Put()), S_OK);
  const RowSet rows = ReadAllRows(*table);
  const SBinary id = FindColumn(rows[0], PR_ENTRYID)->Value.bin;
  EXPECT_EQ(session->OpenMsgStore(0, id.cb, ToEntryId(id.lpb), nullptr, 0x94, store.Put()),
            MAPI_E_NOT_FOUND);
  EXPECT_EQ(LastFailure().result, MAPI_E_NOT_FOUND);
}

TEST(Memory, ChainsAreFreedAsAWhole) {
  using namespace builtin;
  const std::uint64_t before = LiveBuffers();
  void* head = nullptr;
  void* link = nullptr;
  ASSERT_EQ(AllocateBuffer(0, &head), S_OK);
  ASSERT_EQ(AllocateMore(100, head, &link), S_OK);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(link) % 8, 0u);
  void* wrong = head;
  EXPECT_EQ(AllocateMore(1, link, &wrong), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(wrong, nullptr);
  EXPECT_EQ(AllocateMore(1, nullptr, &wrong), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(AllocateBuffer(1, nullptr), MAPI_E_INVALID_PARAMETER);
  EXPECT_NE(FreeBuffer(link), 0u);
  EXPECT_EQ(FreeBuffer(nullptr), 0u);
  EXPECT_EQ(LiveBuffers(), before + 1);
  EXPECT_EQ(FreeBuffer(head), 0u);
  EXPECT_EQ(LiveBuffers(), before);
}

}  // namespace
}  // namespace parvane::mapi
