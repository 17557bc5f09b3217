// Files written through the interfaces, judged by readers that share no code with us.
#include <cstdlib>

#include "platform/system.h"
#include "tests/mapi_builtin/session_fixture.h"

namespace parvane::mapi {
namespace {

class WholeFile : public SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    builtin::TheEnvironment().files = nullptr;  // the machine's own
    path = platform::JoinPath(
        platform::TemporaryFolder(),
        platform::Utf8ToUtf16("parvane-mapi-" + std::to_string(platform::ProcessIdentifier()) +
                              ".pst"));
    (void)platform::FileSystem::Default().Remove(path);
    _ours = path;
  }
  void TearDown() override {
    SessionTest::TearDown();
    (void)platform::FileSystem::Default().Remove(_ours);
  }
  // Standard output and error of a command, `%` standing for the file.
  std::string Run(std::string command, int* exitCode) {
    command.replace(command.find('%'), 1, "'" + platform::PathToNative(path) + "'");
    std::string output;
    std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    char buffer[4096];
    while (std::size_t got = std::fread(buffer, 1, sizeof buffer, pipe)) output.append(buffer, got);
    *exitCode = pclose(pipe);
    return output;
  }
  void CheckFile(int messages) {
#ifdef PARVANE_PSTCHECK
    int checked = 0;
    const std::string report =
        Run(std::string("python3 ") + PARVANE_PSTCHECK + " check --writer %", &checked);
    EXPECT_EQ(checked, 0) << report;
#endif
#ifdef PARVANE_LSPST
    int listed = 0;
    const std::string list = Run(std::string(PARVANE_LSPST) + " %", &listed);
    EXPECT_EQ(listed, 0);
    int found = 0;
    for (std::size_t at = 0; (at = list.find("Email\t", at)) != std::string::npos; ++at) ++found;
    EXPECT_EQ(found, messages) << list.substr(0, 2000);
#endif
    (void)messages;
  }

 private:
  std::u16string _ours;  // the file this test makes, whatever it reads besides
};

TEST_F(WholeFile, ManyMessagesOfEveryKindPassTheCheckers) {
  constexpr int kFolders = 3;
  constexpr int kMessages = 120;
  LogOn();
  const auto book = AddressBook();
  for (int f = 0; f < kFolders; ++f) {
    const auto folder =
        MakeFolder(*top, (u"Folder " + std::u16string(1, char16_t(u'A' + f))).c_str());
    ASSERT_EQ(Set(*folder, TextValue(PR_CONTAINER_CLASS_W, u"IPF.Note")), S_OK);
    for (int m = 0; m < kMessages; ++m) {
      auto message = NewMessage(*folder);
      ASSERT_EQ(Set(*message, TextValue(PR_MESSAGE_CLASS_W, u"IPM.Note")), S_OK);
      ASSERT_EQ(Set(*message, TextValue(PR_SUBJECT_W, u"Re: Тема")), S_OK);
      ASSERT_EQ(Set(*message, LongValue(PR_MESSAGE_FLAGS, m % 2)), S_OK);
      ASSERT_EQ(WriteStream(*message, PR_BODY_W, BytesOf(std::u16string(m * 300, u'b'))), S_OK);
      for (int r = 0; r < m % 4; ++r) {
        ASSERT_EQ(AddRecipient(*book, *message, u"Bob", u"bob@example.com", 1 + r % 3), S_OK);
      }
      for (int a = 0; a < m % 3; ++a) {
        ComPointer<IAttach> attach;
        ULONG number = 0;
        ASSERT_EQ(message->CreateAttach(nullptr, 0, &number, attach.Put()), S_OK);
        if (a == 1) {
          ASSERT_EQ(Set(*attach, LongValue(PR_ATTACH_METHOD, ATTACH_EMBEDDED_MSG)), S_OK);
          ComPointer<IMessage> inner;
          ASSERT_EQ(attach->OpenProperty(PR_ATTACH_DATA_OBJ, &IID_IMessage, 0,
                                         MAPI_CREATE | MAPI_MODIFY, inner.PutUnknown()),
                    S_OK);
          ASSERT_EQ(Set(*inner, TextValue(PR_MESSAGE_CLASS_W, u"IPM.Note")), S_OK);
          ASSERT_EQ(Set(*inner, TextValue(PR_SUBJECT_W, u"inner")), S_OK);
          ASSERT_EQ(Set(*inner, LongValue(PR_MESSAGE_FLAGS, 1)), S_OK);
          ASSERT_EQ(inner->SaveChanges(FORCE_SAVE), S_OK);
        } else {
          ASSERT_EQ(Set(*attach, LongValue(PR_ATTACH_METHOD, ATTACH_BY_VALUE)), S_OK);
          ASSERT_EQ(Set(*attach, TextValue(PR_ATTACH_LONG_FILENAME_W, u"файл.bin")), S_OK);
          ASSERT_EQ(WriteStream(*attach, PR_ATTACH_DATA_BIN, std::string(m * 1000, 'x')), S_OK);
        }
        ASSERT_EQ(attach->SaveChanges(FORCE_SAVE), S_OK);
      }
      ASSERT_EQ(message->SaveChanges(FORCE_SAVE), S_OK);
    }
    EXPECT_EQ(Get(*folder, PR_CONTENT_COUNT).number(), kMessages);
    EXPECT_EQ(Get(*folder, PR_CONTENT_UNREAD).number(), kMessages / 2);
  }
  // Some are changed, some deleted, and a stream is left without its message.
  const auto folder = MakeFolder(*top, u"folder a");
  const auto messages = MessagesOf(*folder, MAPI_MODIFY);
  for (int m = 0; m < kMessages; m += 10) {
    ASSERT_EQ(Set(*messages[m], LongValue(PR_IMPORTANCE, 2)), S_OK);
    ASSERT_EQ(AddRecipient(*book, *messages[m], u"Late", u"late@example.com", MAPI_CC), S_OK);
    ASSERT_EQ(messages[m]->SaveChanges(KEEP_OPEN_READWRITE), S_OK) << LastFailure().text;
  }
  const Got id = Get(*messages[5], PR_ENTRYID);
  SBinary binary = id.value->Value.bin;
  ENTRYLIST list{1, &binary};
  ASSERT_EQ(folder->DeleteMessages(&list, 0, nullptr, 0), S_OK);
  auto dropped = NewMessage(*folder);
  ASSERT_EQ(WriteStream(*dropped, PR_BODY_W, std::string(500'000, 'd')), S_OK);
  dropped.Reset();
  ASSERT_EQ(LogOff(), S_OK) << LastFailure().text;
  EXPECT_EQ(Diagnostics().messagesCommitted, std::uint64_t{kFolders * kMessages});
  CheckFile(kFolders * kMessages - 1);
}

TEST_F(WholeFile, ThousandsOfRecipientsAndALongSubject) {
  LogOn();
  const auto book = AddressBook();
  auto message = NewMessage(*top);
  ASSERT_EQ(Set(*message, TextValue(PR_MESSAGE_CLASS_W, u"IPM.Note")), S_OK);
  ASSERT_EQ(Set(*message, LongValue(PR_MESSAGE_FLAGS, 1)), S_OK);
  const std::u16string subject(10'000, u'S');
  ASSERT_EQ(Set(*message, TextValue(PR_SUBJECT_W, subject.c_str())), S_OK);
  for (int r = 0; r < 5000; ++r) {
    const std::u16string name = platform::Utf8ToUtf16("n" + std::to_string(r));
    const std::u16string address = name + u"@example.com";
    ASSERT_EQ(AddRecipient(*book, *message, name.c_str(), address.c_str(), MAPI_TO), S_OK);
  }
  ASSERT_EQ(message->SaveChanges(FORCE_SAVE), S_OK) << LastFailure().text;
  message.Reset();
  Reopen();
  message = MessagesOf(*top).at(0);
  EXPECT_EQ(Get(*message, PR_SUBJECT_W).text(), subject);
  ComPointer<IMAPITable> table;
  ASSERT_EQ(message->GetRecipientTable(MAPI_UNICODE, table.Put()), S_OK);
  const RowSet rows = ReadAllRows(*table);
  ASSERT_EQ(rows.size(), 5000u);
  EXPECT_EQ(ColumnText(rows[4999], PR_EMAIL_ADDRESS_W), u"n4999@example.com");
  message.Reset();
  table.Reset();
  LogOff();
  CheckFile(1);
}

#ifdef PARVANE_PST_SAMPLES
// Reads everything there is in a message; embedded ones too.
void ReadWhole(IMessage& message) {
  MapiBuffer<SPropTagArray> tags;
  ASSERT_EQ(message.GetPropList(MAPI_UNICODE, tags.Put()), S_OK);
  for (ULONG i = 0; i < tags->cValues; ++i) {
    const ULONG tag = tags->aulPropTag[i];
    if (PropType(tag) == PT_OBJECT) continue;
    const Got got = Get(message, tag, MAPI_UNICODE);
    if (got.ok() && PropType(tag) == PT_BINARY) {
      EXPECT_EQ(ReadStream(message, tag), got.bytes()) << std::hex << tag;
    } else {
      EXPECT_TRUE(got.ok() || got.error() == MAPI_E_NOT_ENOUGH_MEMORY) << std::hex << tag;
    }
  }
  EXPECT_TRUE(Get(message, PR_SUBJECT_W).text().find(u'\x0001') == std::u16string::npos);
  ComPointer<IMAPITable> recipients;
  ASSERT_EQ(message.GetRecipientTable(MAPI_UNICODE, recipients.Put()), S_OK);
  ReadAllRows(*recipients);
  ComPointer<IMAPITable> table;
  ASSERT_EQ(message.GetAttachmentTable(MAPI_UNICODE, table.Put()), S_OK);
  for (const SRow& row : ReadAllRows(*table)) {
    ComPointer<IAttach> attach;
    ASSERT_EQ(
        message.OpenAttach(FindColumn(row, PR_ATTACH_NUM)->Value.ul, nullptr, 0, attach.Put()),
        S_OK);
    if (Get(*attach, PR_ATTACH_METHOD).number() != ATTACH_EMBEDDED_MSG) {
      EXPECT_NE(ReadStream(*attach, PR_ATTACH_DATA_BIN), "<failed>");
      continue;
    }
    ComPointer<IMessage> inner;
    ASSERT_EQ(attach->OpenProperty(PR_ATTACH_DATA_OBJ, &IID_IMessage, 0, 0, inner.PutUnknown()),
              S_OK);
    ReadWhole(*inner);
  }
}

// Files of other writers are read through the same interfaces, to the last stream.
TEST_F(WholeFile, FilesOfOtherWritersAreReadInFull) {
  const struct {
    const char* name;
    ULONG leastMessages;
  } samples[] = {{"Empty.pst", 0}, {"sample1.pst", 1}, {"submessage.pst", 1}};
  for (const auto& sample : samples) {
    SCOPED_TRACE(sample.name);
    path = platform::Utf8ToUtf16(std::string(PARVANE_PST_SAMPLES "/") + sample.name);
    BuiltinOptions options;
    options.readOnly = true;
    SetBuiltinOptions(options);
    LogOn();
    ComPointer<IMAPIFolder> root;
    ASSERT_EQ(store->OpenEntry(0, nullptr, nullptr, 0, nullptr, root.PutUnknown()), S_OK);
    ComPointer<IMAPITable> tree;
    ASSERT_EQ(root->GetHierarchyTable(CONVENIENT_DEPTH | MAPI_UNICODE, tree.Put()), S_OK);
    ULONG found = 0;
    for (const SRow& row : ReadAllRows(*tree)) {
      const SBinary id = FindColumn(row, PR_ENTRYID)->Value.bin;
      if (FindColumn(row, PR_FOLDER_TYPE)->Value.ul == FOLDER_SEARCH) continue;
      ComPointer<IMAPIFolder> folder;
      ASSERT_EQ(root->OpenEntry(id.cb, reinterpret_cast<ENTRYID*>(id.lpb), nullptr, 0, nullptr,
                                folder.PutUnknown()),
                S_OK);
      for (const auto& message : MessagesOf(*folder)) {
        ++found;
        ReadWhole(*message);
      }
    }
    EXPECT_GE(found, sample.leastMessages);
    LogOff();
  }
}
#endif

}  // namespace
}  // namespace parvane::mapi
