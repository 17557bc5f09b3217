// Everything written through the interfaces is there again in a new session.
#include "pstfile/check/integrity_checker.h"
#include "tests/mapi_builtin/session_fixture.h"
#include "tests/support/findings.h"

namespace parvane::mapi {
namespace {

constexpr std::uint64_t kWhen = 0x01D8000012345678;

class RoundTrip : public SessionTest {
 protected:
  // A message as an import makes it.
  void WriteMail(IMessage& message) {
    EXPECT_EQ(Set(message, TextValue(PR_MESSAGE_CLASS_W, u"IPM.Note")), S_OK);
    EXPECT_EQ(Set(message, AnsiValue(PR_TRANSPORT_MESSAGE_HEADERS_A,
                                     "Subject: Re: Gr\xC3\xBC\xC3\x9F"
                                     "e\r\n")),
              S_OK);
    EXPECT_EQ(Set(message, TextValue(PR_SUBJECT_W, u"Re: Grüße")), S_OK);
    EXPECT_EQ(Set(message, TimeValue(PR_CLIENT_SUBMIT_TIME, kWhen)), S_OK);
    EXPECT_EQ(Set(message, TimeValue(PR_LAST_MODIFICATION_TIME, kWhen)), S_OK);
    EXPECT_EQ(Set(message, TimeValue(PR_MESSAGE_DELIVERY_TIME, 0)), S_OK);
    EXPECT_EQ(Set(message, LongValue(PR_PRIORITY, 0)), S_OK);
    EXPECT_EQ(Set(message, LongValue(PR_IMPORTANCE, 1)), S_OK);
    EXPECT_EQ(Set(message, LongValue(PR_MESSAGE_FLAGS, MSGFLAG_READ)), S_OK);
    EXPECT_EQ(Set(message, LongValue(PR_INTERNET_CPID, 65001)), S_OK);
    SPropValue sender[] = {TextValue(PR_SENDER_NAME_W, u"Ann"),
                           TextValue(PR_SENDER_ADDRTYPE_W, u"SMTP"),
                           TextValue(PR_SENDER_EMAIL_ADDRESS_W, u"ann@example.com")};
    EXPECT_EQ(message.SetProps(3, sender, nullptr), S_OK);
    EXPECT_EQ(WriteStream(message, PR_BODY_W, BytesOf(kBody)), S_OK);
    EXPECT_EQ(WriteStream(message, PR_BODY_HTML_A, kHtml), S_OK);
    const auto book = AddressBook();
    EXPECT_EQ(AddRecipient(*book, message, u"Bob", u"bob@example.com", MAPI_TO), S_OK);
    EXPECT_EQ(AddRecipient(*book, message, u"Cid", u"cid@example.com", MAPI_TO), S_OK);
    EXPECT_EQ(AddRecipient(*book, message, u"Dora", u"dora@example.com", MAPI_CC), S_OK);
  }
  void AddFile(IMessage& message, const char16_t* name, std::string_view data) {
    const auto attach = NewAttachment(message, ATTACH_BY_VALUE);
    EXPECT_EQ(Set(*attach, TextValue(PR_ATTACH_LONG_FILENAME_W, name)), S_OK);
    EXPECT_EQ(WriteStream(*attach, PR_ATTACH_DATA_BIN, data), S_OK);
    EXPECT_EQ(attach->SaveChanges(FORCE_SAVE), S_OK);
  }
  void CheckMail(IMessage& message) {
    EXPECT_EQ(mapi::Get(message, PR_MESSAGE_CLASS_W).text(), u"IPM.Note");
    EXPECT_EQ(mapi::Get(message, PR_TRANSPORT_MESSAGE_HEADERS_W).text(), u"Subject: Re: Grüße\r\n");
    EXPECT_EQ(mapi::Get(message, PR_SUBJECT_W).text(), u"Re: Grüße");
    EXPECT_EQ(mapi::Get(message, PR_SUBJECT_PREFIX_W).text(), u"Re: ");
    EXPECT_EQ(mapi::Get(message, PR_NORMALIZED_SUBJECT_W).text(), u"Grüße");
    EXPECT_EQ(mapi::Get(message, PR_CONVERSATION_TOPIC_W).text(), u"Grüße");
    EXPECT_EQ(mapi::Get(message, PR_CONVERSATION_INDEX).error(), MAPI_E_NOT_FOUND);
    EXPECT_EQ(mapi::Get(message, PR_CLIENT_SUBMIT_TIME).ticks(), kWhen);
    EXPECT_EQ(mapi::Get(message, PR_LAST_MODIFICATION_TIME).ticks(), kWhen);
    EXPECT_EQ(mapi::Get(message, PR_MESSAGE_DELIVERY_TIME).ticks(), 0u);
    EXPECT_EQ(mapi::Get(message, PR_DISPLAY_TO_W).text(), u"Bob; Cid");
    EXPECT_EQ(mapi::Get(message, PR_DISPLAY_CC_W).text(), u"Dora");
    EXPECT_EQ(mapi::Get(message, PR_DISPLAY_BCC_W).text(), u"");
    EXPECT_EQ(mapi::Get(message, PR_SENDER_SEARCH_KEY).bytes(),
              std::string("SMTP:ANN@EXAMPLE.COM\0", 21));
    EXPECT_EQ(mapi::Get(message, PR_SENDER_SMTP_ADDRESS_W).text(), u"ann@example.com");
    EXPECT_EQ(ReadStream(message, PR_BODY_W), BytesOf(kBody));
    EXPECT_EQ(mapi::Get(message, PR_BODY_W).text(), kBody);
    EXPECT_EQ(ReadStream(message, PR_HTML), kHtml);
    EXPECT_EQ(mapi::Get(message, PR_BODY_HTML_A).chars(), kHtml);
    EXPECT_EQ(mapi::Get(message, PR_BODY_HTML_W).text(), u"<p>Grüße</p>");
    EXPECT_EQ(mapi::Get(message, PR_SEARCH_KEY).bytes().size(), 16u);

    ComPointer<IMAPITable> table;
    ASSERT_EQ(message.GetRecipientTable(MAPI_UNICODE, table.Put()), S_OK);
    const RowSet rows = ReadAllRows(*table);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(ColumnText(rows[2], PR_DISPLAY_NAME_W), u"Dora");
    EXPECT_EQ(ColumnText(rows[2], PR_SMTP_ADDRESS_W), u"dora@example.com");
    EXPECT_EQ(FindColumn(rows[2], PR_RECIPIENT_TYPE)->Value.ul, MAPI_CC);
    EXPECT_EQ(FindColumn(rows[2], PR_ROWID)->Value.ul, 2u);
    EXPECT_EQ(FindColumn(rows[2], PR_OBJECT_TYPE)->Value.ul, MAPI_MAILUSER);
    const SBinary key = FindColumn(rows[2], PR_SEARCH_KEY)->Value.bin;
    EXPECT_EQ(std::string(reinterpret_cast<char*>(key.lpb), key.cb),
              std::string("SMTP:DORA@EXAMPLE.COM\0", 22));
  }

  const std::u16string kBody = u"Liebe Grüße\r\n\x4F60\x597D";
  const std::string kHtml =
      "<p>Gr\xC3\xBC\xC3\x9F"
      "e</p>";
};

TEST_F(RoundTrip, MailIsReadBackInTheSameAndInANewSession) {
  LogOn();
  const auto inbox = MakeFolder(*top, u"Inbox");
  const std::string data(200'000, 'x');
  {
    auto message = NewMessage(*inbox);
    WriteMail(*message);
    AddFile(*message, u"a.txt", "hello");
    AddFile(*message, u"big.bin", data);
    ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK) << LastFailure().text;
    CheckMail(*message);
    EXPECT_EQ(mapi::Get(*message, PR_MESSAGE_FLAGS).number(), MSGFLAG_READ | MSGFLAG_HASATTACH);
  }
  for (int round = 0; round < 2; ++round) {
    const auto folder = MakeFolder(*top, u"INBOX");  // names ignore case
    const auto messages = MessagesOf(*folder);
    ASSERT_EQ(messages.size(), 1u);
    IMessage& message = *messages[0];
    CheckMail(message);
    EXPECT_EQ(mapi::Get(message, PR_HASATTACH).number(), 1u);
    EXPECT_GT(mapi::Get(message, PR_MESSAGE_SIZE).number(), 200'000u);

    ComPointer<IMAPITable> table;
    ASSERT_EQ(message.GetAttachmentTable(MAPI_UNICODE, table.Put()), S_OK);
    const RowSet rows = ReadAllRows(*table);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(ColumnText(rows[1], PR_ATTACH_LONG_FILENAME_W), u"big.bin");
    EXPECT_EQ(FindColumn(rows[0], PR_RENDERING_POSITION)->Value.l, -1);
    EXPECT_GT(FindColumn(rows[1], PR_ATTACH_SIZE)->Value.ul, 200'000u);
    ComPointer<IAttach> attach;
    ASSERT_EQ(message.OpenAttach(1, nullptr, 0, attach.Put()), S_OK);
    EXPECT_EQ(ReadStream(*attach, PR_ATTACH_DATA_BIN), data);
    EXPECT_EQ(mapi::Get(*attach, PR_ATTACH_NUM).number(), 1u);
    EXPECT_EQ(mapi::Get(*attach, PR_RECORD_KEY).bytes().size(), 4u);
    EXPECT_EQ(message.OpenAttach(2, nullptr, 0, attach.Put()), MAPI_E_NOT_FOUND);
    if (round == 0) Reopen();
  }
}

TEST_F(RoundTrip, ManyMessagesOfEveryKindAreSound) {
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
        if (a != 1) {
          AddFile(*message, u"файл.bin", std::string(m * 1000, 'x'));
          continue;
        }
        const auto attach = NewAttachment(*message, ATTACH_EMBEDDED_MSG);
        const auto inner = NewInner(*attach);
        ASSERT_EQ(Set(*inner, TextValue(PR_MESSAGE_CLASS_W, u"IPM.Note")), S_OK);
        ASSERT_EQ(Set(*inner, TextValue(PR_SUBJECT_W, u"inner")), S_OK);
        ASSERT_EQ(Set(*inner, LongValue(PR_MESSAGE_FLAGS, 1)), S_OK);
        ASSERT_EQ(inner->SaveChanges(FORCE_SAVE), S_OK);
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
  pstfile::Findings found;
  const auto checked = pstfile::CheckFile(files, path, {.notes = true}, found);
  ASSERT_TRUE(checked.ok()) << checked.status().message();
  EXPECT_EQ(found.text, "");
  EXPECT_EQ(checked->messages, std::uint64_t{kFolders * kMessages - 1});
}

TEST_F(RoundTrip, AMessageWithNothingSetIsStillAMessage) {
  LogOn();
  EXPECT_EQ(NewMessage(*top)->SaveChanges(FORCE_SAVE), S_OK);
  const auto earlier = record;
  Reopen();
  const auto messages = MessagesOf(*top);
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(mapi::Get(*messages[0], PR_MESSAGE_CLASS_W).text(), u"IPM");
  EXPECT_GT(mapi::Get(*messages[0], PR_CREATION_TIME).ticks(), kWhen);
  EXPECT_EQ(mapi::Get(*messages[0], PR_LAST_MODIFICATION_TIME).ticks(),
            mapi::Get(*messages[0], PR_CREATION_TIME).ticks());
  EXPECT_EQ(mapi::Get(*messages[0], PR_SEARCH_KEY).bytes().size(), 16u);
  EXPECT_EQ(mapi::Get(*messages[0], PR_DISPLAY_TO_W).text(), u"");
  EXPECT_EQ(mapi::Get(*messages[0], PR_MESSAGE_FLAGS).number(), 0u);  // unread mail, no draft
  ComPointer<IMAPITable> table;
  ASSERT_EQ(messages[0]->GetRecipientTable(0, table.Put()), S_OK);
  EXPECT_EQ(ReadAllRows(*table).size(), 0u);
  // Each opening counts for itself.
  EXPECT_EQ(Diagnostics().messagesSaved, 0u);
  EXPECT_EQ(earlier->messagesCommitted, 1u);
}

TEST_F(RoundTrip, WhatIsTooMuchForMemoryIsReadBackAsItWas) {
  constexpr ULONG kRecipients = 5000;
  constexpr ULONG kFiles = 2500;
  const std::u16string filling(300, u'x');
  const auto name = [&](ULONG i) {
    const std::string number = std::to_string(i);
    return std::u16string(number.begin(), number.end()) + filling;
  };
  // Some stay of the first and the third of the pieces that they are put away in, of others none.
  const auto stays = [](ULONG i) { return i % 2 != 0 && (i < 1500 || (i > 3500 && i < 4800)); };
  const std::u16string subject = u"Re: " + std::u16string(600'000, u'S') + u"\xD83D\xDE00";
  const std::string headers(1'500'000, 'h');
  std::u16string to;
  LogOn();
  {
    const auto message = NewMessage(*top);
    const auto book = AddressBook();
    EXPECT_EQ(Set(*message, TextValue(PR_SUBJECT_W, u"replaced")), S_OK);
    EXPECT_EQ(Set(*message, TextValue(PR_SUBJECT_W, subject.c_str())), S_OK);
    EXPECT_EQ(Set(*message, AnsiValue(PR_TRANSPORT_MESSAGE_HEADERS_A, headers.c_str())), S_OK);
    for (ULONG i = 0; i < kRecipients; ++i) {
      ASSERT_EQ(AddRecipient(*book, *message, name(i).c_str(), u"a@x.org", MAPI_TO), S_OK);
      if (stays(i)) to += (to.empty() ? u"" : u"; ") + name(i);
    }
    // Rows that were put away are found again.
    for (ULONG i = 0; i < kRecipients; ++i) {
      if (stays(i)) continue;
      SPropValue id = LongValue(PR_ROWID, i);
      ADRLIST list{1, {{0, 1, &id}}};
      ASSERT_EQ(message->ModifyRecipients(MODRECIP_REMOVE, &list), S_OK);
    }
    SPropValue changed[] = {LongValue(PR_ROWID, 4001), TextValue(PR_DISPLAY_NAME_W, u"Zoe"),
                            LongValue(PR_RECIPIENT_TYPE, MAPI_CC)};
    ADRLIST list{1, {{0, 3, changed}}};
    ASSERT_EQ(message->ModifyRecipients(MODRECIP_MODIFY, &list), S_OK);
    to.erase(to.find(name(4001)), name(4001).size() + 2);
    ASSERT_EQ(AddRecipient(*book, *message, name(kRecipients).c_str(), u"a@x.org", MAPI_TO), S_OK);
    to += u"; " + name(kRecipients);
    for (ULONG i = 0; i < kFiles; ++i) AddFile(*message, name(i).c_str(), "x");
    ASSERT_EQ(message->SaveChanges(0), S_OK);
  }
  Reopen();
  const auto message = MessagesOf(*top).at(0);
  EXPECT_EQ(ReadStream(*message, PR_SUBJECT_W), BytesOf(subject));
  EXPECT_EQ(ReadStream(*message, PR_DISPLAY_TO_W), BytesOf(to));
  EXPECT_EQ(ReadStream(*message, PR_TRANSPORT_MESSAGE_HEADERS_W).size(), 2 * headers.size());
  EXPECT_EQ(mapi::Get(*message, PR_DISPLAY_CC_W).text(), u"Zoe");
  ComPointer<IMAPITable> table;
  ASSERT_EQ(message->GetRecipientTable(MAPI_UNICODE, table.Put()), S_OK);
  const RowSet rows = ReadAllRows(*table);
  ULONG was = 0;
  for (ULONG i = 0; i < rows.size(); ++i, ++was) {
    while (was < kRecipients && !stays(was)) ++was;
    ASSERT_EQ(ColumnText(rows[i], PR_DISPLAY_NAME_W), was == 4001 ? u"Zoe" : name(was)) << i;
  }
  EXPECT_EQ(was, kRecipients + 1);
  ASSERT_EQ(message->GetAttachmentTable(MAPI_UNICODE, table.Put()), S_OK);
  const RowSet attached = ReadAllRows(*table);
  ASSERT_EQ(attached.size(), kFiles);
  for (ULONG i = 0; i < kFiles; i += 99) {
    EXPECT_EQ(ColumnText(attached[i], PR_ATTACH_LONG_FILENAME_W), name(i)) << i;
  }
}

}  // namespace
}  // namespace parvane::mapi
