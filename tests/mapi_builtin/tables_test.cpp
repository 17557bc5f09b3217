// Tables, recipients and attachments.
#include <cstring>

#include "tests/mapi_builtin/session_fixture.h"

namespace parvane::mapi {
namespace {

class Tables : public SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    LogOn();
  }
  void SaveMessage(IMAPIFolder& folder, const char16_t* subject, ULONG flags = 0) {
    auto message = NewMessage(folder, flags);
    ASSERT_EQ(Set(*message, TextValue(PR_SUBJECT_W, subject)), S_OK);
    ASSERT_EQ(Set(*message, LongValue(PR_MESSAGE_FLAGS, MSGFLAG_READ)), S_OK);
    ASSERT_EQ(Set(*message, TextValue(PR_INTERNET_MESSAGE_ID_W, u"<id>")), S_OK);
    ASSERT_EQ(message->SaveChanges(FORCE_SAVE), S_OK);
  }
  static std::u16string Subjects(const RowSet& rows) {
    std::u16string all;
    for (const SRow& row : rows) all += ColumnText(row, PR_SUBJECT_W);
    return all;
  }
};

TEST_F(Tables, TheCursorMoves) {
  for (const char16_t* subject : {u"a", u"b", u"c", u"d", u"e"}) SaveMessage(*top, subject);
  ComPointer<IMAPITable> table;
  ASSERT_EQ(top->GetContentsTable(MAPI_UNICODE, table.Put()), S_OK);
  SPropTagArray empty{0, {0}};
  EXPECT_EQ(table->SetColumns(&empty, 0), MAPI_E_INVALID_PARAMETER);
  SizedSPropTagArray<1> columns{1, {PR_SUBJECT_W}};
  ASSERT_EQ(table->SetColumns(columns.get(), TBL_BATCH), S_OK);

  RowSet rows;
  EXPECT_EQ(table->QueryRows(0, 0, rows.Put()), MAPI_E_INVALID_PARAMETER);
  struct Step {
    const char* name;
    LONG count;
    ULONG flags;
    const char16_t* rows;
    ULONG position;
  } const steps[] = {
      {"forward", 2, 0, u"ab", 2},       {"without moving", 2, TBL_NOADVANCE, u"cd", 2},
      {"back", -1, 0, u"b", 1},          {"back to the start", -9, 0, u"a", 0},
      {"nothing before", -1, 0, u"", 0}, {"all", 9, 0, u"abcde", 5},
      {"past the end", 1, 0, u"", 5},
  };
  for (const Step& step : steps) {
    ASSERT_EQ(table->QueryRows(step.count, step.flags, rows.Put()), S_OK) << step.name;
    EXPECT_EQ(Subjects(rows), step.rows) << step.name;
    ULONG row = 99;
    ULONG numerator = 0;
    ULONG denominator = 0;
    ASSERT_EQ(table->QueryPosition(&row, &numerator, &denominator), S_OK);
    EXPECT_EQ(row, step.position) << step.name;
  }

  LONG sought = 0;
  EXPECT_EQ(table->SeekRow(BOOKMARK_END, -2, &sought), S_OK);
  EXPECT_EQ(sought, -2);
  BOOKMARK mark = 0;
  ASSERT_EQ(table->CreateBookmark(&mark), S_OK);
  EXPECT_EQ(table->SeekRow(BOOKMARK_BEGINNING, -3, &sought), S_OK);
  EXPECT_EQ(sought, 0);
  EXPECT_EQ(table->SeekRow(mark, 1, &sought), S_OK);
  ASSERT_EQ(table->QueryRows(5, 0, rows.Put()), S_OK);
  EXPECT_EQ(Subjects(rows), u"e");
  ASSERT_EQ(table->FreeBookmark(mark), S_OK);
  EXPECT_EQ(table->SeekRow(mark, 0, nullptr), MAPI_E_INVALID_BOOKMARK);
  EXPECT_EQ(table->FreeBookmark(mark), MAPI_E_INVALID_BOOKMARK);
  ASSERT_EQ(table->SeekRowApprox(2, 5), S_OK);
  ASSERT_EQ(table->QueryRows(1, 0, rows.Put()), S_OK);
  EXPECT_EQ(Subjects(rows), u"c");

  // New messages show in the open table, which stays where it is.
  SaveMessage(*top, u"f");
  ULONG count = 0;
  ASSERT_EQ(table->GetRowCount(0, &count), S_OK);
  EXPECT_EQ(count, 6u);
  ASSERT_EQ(table->QueryRows(9, 0, rows.Put()), S_OK);
  EXPECT_EQ(Subjects(rows), u"def");
}

TEST_F(Tables, EveryRowHasEveryColumnInOrder) {
  SaveMessage(*top, u"Re: a");
  ComPointer<IMAPITable> table;
  ASSERT_EQ(top->GetContentsTable(0, table.Put()), S_OK);
  SizedSPropTagArray<8> columns{
      8,
      {PR_NORMALIZED_SUBJECT_A, PR_NULL, PR_BODY_W, PR_INTERNET_MESSAGE_ID_W, PR_OBJECT_TYPE,
       PR_DISPLAY_TO_W, PR_MESSAGE_FLAGS, ChangePropType(PR_SUBJECT_W, PT_UNSPECIFIED)}};
  ASSERT_EQ(table->SetColumns(columns.get(), 0), S_OK);
  const RowSet rows = ReadAllRows(*table);
  ASSERT_EQ(rows.size(), 1u);
  const SPropValue* values = rows[0].lpProps;
  ASSERT_EQ(rows[0].cValues, 8u);
  EXPECT_EQ(std::string(values[0].Value.lpszA), "a");
  EXPECT_EQ(values[1].ulPropTag, PR_NULL);
  EXPECT_EQ(values[2].ulPropTag, ChangePropType(PR_BODY_W, PT_ERROR));
  EXPECT_EQ(values[2].Value.err, MAPI_E_NOT_FOUND);
  EXPECT_EQ(std::u16string(values[3].Value.lpszW), u"<id>");  // only the message knows
  EXPECT_EQ(values[4].Value.ul, MAPI_MESSAGE);
  EXPECT_EQ(std::u16string(values[5].Value.lpszW), u"");
  EXPECT_EQ(values[6].Value.ul, MSGFLAG_READ);
  EXPECT_EQ(std::string(values[7].Value.lpszA), "Re: a");
}

TEST_F(Tables, AssociatedMessagesStandApart) {
  SaveMessage(*top, u"hidden", MAPI_ASSOCIATED);
  SaveMessage(*top, u"seen");
  EXPECT_EQ(MessagesOf(*top).size(), 1u);
  EXPECT_EQ(Get(*top, PR_ASSOC_CONTENT_COUNT).number(), 1u);
  const auto hidden = MessagesOf(*top, 0, MAPI_ASSOCIATED);
  ASSERT_EQ(hidden.size(), 1u);
  EXPECT_EQ(Get(*hidden[0], PR_SUBJECT_W).text(), u"hidden");
  EXPECT_EQ(Get(*hidden[0], PR_MESSAGE_FLAGS).number(), MSGFLAG_READ | MSGFLAG_ASSOCIATED);
}

TEST_F(Tables, RecipientsAreModifiedByTheRules) {
  const auto message = NewMessage(*top);
  const auto book = AddressBook();
  for (const char16_t* name : {u"a", u"b", u"c"}) {
    ASSERT_EQ(AddRecipient(*book, *message, name, name, MAPI_TO), S_OK);
  }
  const auto names = [&] {
    ComPointer<IMAPITable> table;
    EXPECT_EQ(message->GetRecipientTable(MAPI_UNICODE, table.Put()), S_OK);
    std::u16string all;
    for (const SRow& row : ReadAllRows(*table)) {
      all += ColumnText(row, PR_DISPLAY_NAME_W);
      all += static_cast<char16_t>(u'0' + FindColumn(row, PR_ROWID)->Value.ul);
    }
    return all;
  };
  EXPECT_EQ(names(), u"a0b1c2");
  struct Case {
    const char* name;
    ULONG flags;
    std::vector<SPropValue> row;
    HRESULT expected;
    const char16_t* after;
  } const cases[] = {
      {"bad flags", 1, {}, MAPI_E_INVALID_PARAMETER, u"a0b1c2"},
      {"empty entry", MODRECIP_ADD, {}, S_OK, u"a0b1c2"},
      {"add with row id",
       MODRECIP_ADD,
       {LongValue(PR_ROWID, 1)},
       MAPI_E_INVALID_PARAMETER,
       u"a0b1c2"},
      {"modify without",
       MODRECIP_MODIFY,
       {TextValue(PR_DISPLAY_NAME_W, u"x")},
       MAPI_E_INVALID_PARAMETER,
       u"a0b1c2"},
      {"null value", MODRECIP_ADD, {LongValue(PR_NULL, 0)}, MAPI_E_INVALID_PARAMETER, u"a0b1c2"},
      {"error value",
       MODRECIP_ADD,
       {LongValue(PropTag(PT_ERROR, 0x3003), 0), TextValue(PR_DISPLAY_NAME_W, u"d")},
       S_OK,
       u"a0b1c2d3"},
      {"modify",
       MODRECIP_MODIFY,
       {LongValue(PR_ROWID, 1), TextValue(PR_DISPLAY_NAME_W, u"B")},
       S_OK,
       u"a0B1c2d3"},
      {"remove", MODRECIP_REMOVE, {LongValue(PR_ROWID, 0)}, S_OK, u"B1c2d3"},
      {"remove again", MODRECIP_REMOVE, {LongValue(PR_ROWID, 0)}, MAPI_E_NOT_FOUND, u"B1c2d3"},
      {"replace all", 0, {TextValue(PR_DISPLAY_NAME_W, u"z")}, S_OK, u"z4"},
  };
  for (const Case& c : cases) {
    auto row = c.row;
    ADRLIST list{1, {{0, static_cast<ULONG>(row.size()), row.data()}}};
    EXPECT_EQ(message->ModifyRecipients(c.flags, &list), c.expected) << c.name;
    EXPECT_EQ(names(), c.after) << c.name;
  }
  EXPECT_EQ(message->ModifyRecipients(MODRECIP_ADD, nullptr), MAPI_E_INVALID_PARAMETER);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_EQ(Get(*message, PR_DISPLAY_TO_W).text(), u"z");
  ASSERT_EQ(AddRecipient(*book, *message, u"y", u"y", MAPI_BCC), S_OK);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_EQ(Get(*MessagesOf(*top).at(0), PR_DISPLAY_BCC_W).text(), u"y");
}

TEST_F(Tables, AttachmentsComeWithTheirSaves) {
  auto message = NewMessage(*top);
  const auto make = [&](const char16_t* name, bool save) {
    ULONG number = 99;
    const auto attach = NewAttachment(*message, NO_ATTACHMENT, &number);
    EXPECT_EQ(Get(*attach, PR_ATTACH_METHOD).number(), NO_ATTACHMENT);
    EXPECT_EQ(Get(*attach, PR_RENDERING_POSITION).number(), 0xFFFFFFFFu);
    EXPECT_EQ(Set(*attach, TextValue(PR_ATTACH_LONG_FILENAME_W, name)), S_OK);
    EXPECT_EQ(Set(*attach, LongValue(PR_ATTACH_NUM, 4)), MAPI_E_COMPUTED);
    EXPECT_EQ(WriteStream(*attach, PR_ATTACH_DATA_BIN, std::string(100'000, 'd')), S_OK);
    if (save) {
      EXPECT_EQ(attach->SaveChanges(FORCE_SAVE), S_OK);
    }
    return number;
  };
  const auto names = [&](IMessage& of) {
    ComPointer<IMAPITable> table;
    EXPECT_EQ(of.GetAttachmentTable(MAPI_UNICODE, table.Put()), S_OK);
    std::u16string all;
    for (const SRow& row : ReadAllRows(*table)) all += ColumnText(row, PR_ATTACH_LONG_FILENAME_W);
    return all;
  };
  EXPECT_EQ(make(u"a", true), 0u);
  EXPECT_EQ(make(u"b", false), 1u);  // never saved: not there
  EXPECT_EQ(make(u"c", true), 2u);
  EXPECT_EQ(names(*message), u"ac");
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_EQ(make(u"d", true), 3u);  // saved, but its message is not
  EXPECT_EQ(names(*MessagesOf(*top).at(0)), u"ac");
  message.Reset();

  message = MessagesOf(*top, MAPI_MODIFY).at(0);
  EXPECT_EQ(names(*message), u"ac");
  // Change one, delete the other.
  ComPointer<IAttach> attach;
  ASSERT_EQ(message->OpenAttach(1, nullptr, MAPI_MODIFY, attach.Put()), S_OK);
  ASSERT_EQ(Set(*attach, TextValue(PR_ATTACH_LONG_FILENAME_W, u"C")), S_OK);
  ASSERT_EQ(attach->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_EQ(message->DeleteAttach(7, 0, nullptr, 0), MAPI_E_NOT_FOUND);
  ASSERT_EQ(message->DeleteAttach(0, 0, nullptr, 0), S_OK);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK) << LastFailure().text;
  EXPECT_EQ(ReadStream(*attach, PR_ATTACH_DATA_BIN), std::string(100'000, 'd'));
  attach.Reset();
  message.Reset();
  Reopen();
  message = MessagesOf(*top, MAPI_MODIFY).at(0);
  EXPECT_EQ(names(*message), u"C");
  ASSERT_EQ(message->OpenAttach(0, nullptr, 0, attach.Put()), S_OK);
  EXPECT_EQ(ReadStream(*attach, PR_ATTACH_DATA_BIN), std::string(100'000, 'd'));
  attach.Reset();
  ASSERT_EQ(message->DeleteAttach(0, 0, nullptr, 0), S_OK);
  ASSERT_EQ(message->SaveChanges(FORCE_SAVE), S_OK);
  EXPECT_EQ(Get(*message, PR_HASATTACH).number(), 0u);
}

TEST_F(Tables, MessagesAreDeleted) {
  SaveMessage(*top, u"a");
  SaveMessage(*top, u"b");
  const Got id = Get(*MessagesOf(*top)[0], PR_ENTRYID);
  const auto elsewhere = MakeFolder(*top, u"elsewhere");
  SaveMessage(*elsewhere, u"c");
  const Got folder = Get(*top, PR_ENTRYID);
  const Got other = Get(*MessagesOf(*elsewhere)[0], PR_ENTRYID);
  SBinary binaries[] = {id.value->Value.bin, folder.value->Value.bin, other.value->Value.bin};
  ENTRYLIST list{3, binaries};
  EXPECT_EQ(top->DeleteMessages(&list, 0, nullptr, 0), MAPI_W_PARTIAL_COMPLETION);
  EXPECT_EQ(Get(*elsewhere, PR_CONTENT_COUNT).number(), 1u);
  EXPECT_EQ(Get(*top, PR_CONTENT_COUNT).number(), 1u);
  EXPECT_EQ(Get(*MessagesOf(*top).at(0), PR_SUBJECT_W).text(), u"b");
  ULONG type = 0;
  ComPointer<IUnknown> object;
  EXPECT_EQ(store->OpenEntry(id.value->Value.bin.cb, ToEntryId(id.value->Value.bin.lpb), nullptr, 0,
                             &type, object.Put()),
            MAPI_E_NOT_FOUND);
}

TEST_F(Tables, EntryIdsOfNoUse) {
  const Got id = Get(*top, PR_ENTRYID);
  std::string bytes = id.bytes();
  struct Case {
    const char* name;
    std::string id;
    HRESULT expected;
  } cases[] = {{"short", bytes.substr(0, 20), MAPI_E_INVALID_ENTRYID},
               {"other store", bytes, MAPI_E_UNKNOWN_ENTRYID},
               {"no object", bytes, MAPI_E_NOT_FOUND},
               {"no folder or message", bytes, MAPI_E_INVALID_ENTRYID}};
  cases[1].id[5] ^= 1;
  cases[2].id[22] = 0x11;
  cases[3].id[20] = 0x41;
  for (const Case& c : cases) {
    auto* out = reinterpret_cast<IUnknown*>(1);
    EXPECT_EQ(store->OpenEntry(static_cast<ULONG>(c.id.size()),
                               reinterpret_cast<ENTRYID*>(const_cast<char*>(c.id.data())), nullptr,
                               0, nullptr, &out),
              c.expected)
        << c.name;
    EXPECT_EQ(out, nullptr) << c.name;
  }
  ComPointer<IUnknown> object;
  EXPECT_EQ(
      session->OpenEntry(static_cast<ULONG>(bytes.size()), reinterpret_cast<ENTRYID*>(bytes.data()),
                         nullptr, 0, nullptr, object.Put()),
      S_OK);
}

TEST_F(Tables, OneOffIdentifiersAreExact) {
  const auto book = AddressBook();
  ULONG size = 0;
  MapiBuffer<ENTRYID> id;
  ASSERT_EQ(book->CreateOneOff(ToTString(u"Jim"), ToTString(u"SMTP"), ToTString(u"jim@example.com"),
                               MAPI_UNICODE, &size, id.Put()),
            S_OK);
  static constexpr unsigned char kExpected[] = {
      0x00, 0x00, 0x00, 0x00, 0x81, 0x2B, 0x1F, 0xA4, 0xBE, 0xA3, 0x10, 0x19, 0x9D, 0x6E, 0x00,
      0xDD, 0x01, 0x0F, 0x54, 0x02, 0x00, 0x00, 0x01, 0x80, 0x4A, 0x00, 0x69, 0x00, 0x6D, 0x00,
      0x00, 0x00, 0x53, 0x00, 0x4D, 0x00, 0x54, 0x00, 0x50, 0x00, 0x00, 0x00, 0x6A, 0x00, 0x69,
      0x00, 0x6D, 0x00, 0x40, 0x00, 0x65, 0x00, 0x78, 0x00, 0x61, 0x00, 0x6D, 0x00, 0x70, 0x00,
      0x6C, 0x00, 0x65, 0x00, 0x2E, 0x00, 0x63, 0x00, 0x6F, 0x00, 0x6D, 0x00, 0x00, 0x00};
  ASSERT_EQ(size, sizeof kExpected);
  EXPECT_EQ(std::memcmp(id.get(), kExpected, size), 0);
  ASSERT_EQ(book->CreateOneOff(nullptr, ToTString("FAX"), ToTString("1"), 0, &size, id.Put()),
            S_OK);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(id.get()) + 20, size - 20),
            std::string("\0\0\0\0\0FAX\0"
                        "1\0",
                        11));
  EXPECT_EQ(
      book->CreateOneOff(ToTString(u"n"), nullptr, ToTString(u"a"), MAPI_UNICODE, &size, id.Put()),
      MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(id.get(), nullptr);
}

}  // namespace
}  // namespace parvane::mapi
