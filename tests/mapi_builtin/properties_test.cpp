// The rules of properties: types, widths, problems, computed values, names.
#include <algorithm>

#include "tests/mapi_builtin/session_fixture.h"

namespace parvane::mapi {
namespace {

class Properties : public MessageTest {
 protected:
  // Saves, and opens the message again through its folder.
  void SaveAndOpen(ULONG access = MAPI_MODIFY) {
    ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK) << LastFailure().text;
    message = MessagesOf(*top, access).at(0);
  }
};

TEST_F(Properties, EveryTypeComesBackAsItWentIn) {
  const GUID guid = PS_PUBLIC_STRINGS;
  std::int16_t shorts[] = {1, -2};
  LONG longs[] = {3, -4};
  LARGE_INTEGER larges[] = {{.QuadPart = 5}, {.QuadPart = -6}};
  FILETIME times[] = {{7, 8}};
  char16_t* texts[] = {const_cast<char16_t*>(u"eins"), const_cast<char16_t*>(u"")};
  char* chars[] = {const_cast<char*>("zw\xC3\xB6lf")};
  BYTE data[] = {9, 0, 10};
  SBinary binaries[] = {{3, data}, {0, nullptr}};
  std::vector<SPropValue> values(13);
  const auto tag = [&](int i, ULONG type) -> SPropUnion& {
    values[i].ulPropTag = PropTag(type, 0x6100 + i);
    return values[i].Value;
  };
  tag(0, PT_I2).i = -7;
  tag(1, PT_R4).flt = 1.5F;
  tag(2, PT_DOUBLE).dbl = -2.25;
  tag(3, PT_BOOLEAN).b = 0x0100;  // any bit is true
  tag(4, PT_I8).li.QuadPart = -123456789012345;
  tag(5, PT_CLSID).lpguid = const_cast<GUID*>(&guid);
  tag(6, PT_MV_I2).MVi = {2, shorts};
  tag(7, PT_MV_LONG).MVl = {2, longs};
  tag(8, PT_MV_I8).MVli = {2, larges};
  tag(9, PT_MV_SYSTIME).MVft = {1, times};
  tag(10, PT_MV_UNICODE).MVszW = {2, texts};
  tag(11, PT_MV_STRING8).MVszA = {1, chars};
  tag(12, PT_MV_BINARY).MVbin = {2, binaries};
  SPropProblemArray* problems = nullptr;
  ASSERT_EQ(message->SetProps(13, values.data(), &problems), S_OK);
  ASSERT_EQ(problems, nullptr);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(Get(*message, values[0].ulPropTag).value->Value.i, -7);
    EXPECT_EQ(Get(*message, values[1].ulPropTag).value->Value.flt, 1.5F);
    EXPECT_EQ(Get(*message, values[2].ulPropTag).value->Value.dbl, -2.25);
    EXPECT_EQ(Get(*message, values[3].ulPropTag).value->Value.b, 1);
    EXPECT_EQ(Get(*message, values[4].ulPropTag).value->Value.li.QuadPart, -123456789012345);
    EXPECT_EQ(*Get(*message, values[5].ulPropTag).value->Value.lpguid, guid);
    EXPECT_EQ(Get(*message, values[6].ulPropTag).value->Value.MVi.lpi[1], -2);
    EXPECT_EQ(Get(*message, values[7].ulPropTag).value->Value.MVl.lpl[1], -4);
    EXPECT_EQ(Get(*message, values[8].ulPropTag).value->Value.MVli.lpli[1].QuadPart, -6);
    EXPECT_EQ(Get(*message, values[9].ulPropTag).value->Value.MVft.lpft[0], times[0]);
    const Got multi = Get(*message, values[10].ulPropTag);
    ASSERT_EQ(multi.value->Value.MVszW.cValues, 2u);
    EXPECT_EQ(std::u16string(multi.value->Value.MVszW.lppszW[0]), u"eins");
    const Got wide = Get(*message, PropTag(PT_MV_UNICODE, 0x610B));
    EXPECT_EQ(std::u16string(wide.value->Value.MVszW.lppszW[0]), u"zwölf");
    EXPECT_EQ(std::string(Get(*message, values[11].ulPropTag).value->Value.MVszA.lppszA[0]),
              "zw\xC3\xB6lf");
    const Got blobs = Get(*message, values[12].ulPropTag);
    ASSERT_EQ(blobs.value->Value.MVbin.cValues, 2u);
    EXPECT_EQ(blobs.value->Value.MVbin.lpbin[0].lpb[2], 10);
    EXPECT_EQ(blobs.value->Value.MVbin.lpbin[1].cb, 0u);
    if (round == 0) SaveAndOpen(0);
  }
}

TEST_F(Properties, SetPropsReportsSinglePropertiesAndSucceeds) {
  struct Case {
    const char* name;
    SPropValue value;
    HRESULT call;
    SCODE problem;
  } const cases[] = {
      {"tag 0", LongValue(0, 1), S_OK, MAPI_E_INVALID_TYPE},
      {"null is ignored", LongValue(PR_NULL, 1), S_OK, S_OK},
      {"error is ignored", LongValue(PropTag(PT_ERROR, 0x37), 1), S_OK, S_OK},
      {"object", LongValue(PropTag(PT_OBJECT, 0x6200), 1), MAPI_E_INVALID_PARAMETER, S_OK},
      {"no values", LongValue(PropTag(PT_MV_LONG, 0x6200), 0), MAPI_E_INVALID_PARAMETER, S_OK},
      {"entry id", BinaryValue(PR_ENTRYID, "x", 1), S_OK, MAPI_E_COMPUTED},
      {"size", LongValue(PR_MESSAGE_SIZE, 1), S_OK, MAPI_E_COMPUTED},
      {"display to", TextValue(PR_DISPLAY_TO_W, u"x"), S_OK, MAPI_E_COMPUTED},
      {"unknown type", LongValue(PropTag(0x00FD, 0x6200), 1), S_OK, MAPI_E_INVALID_TYPE},
      {"fine", LongValue(PropTag(PT_LONG, 0x6200), 1), S_OK, S_OK},
  };
  for (const Case& c : cases) {
    SPropValue values[] = {c.value, LongValue(PropTag(PT_LONG, 0x6201), 5)};
    SPropProblemArray* problems = nullptr;
    EXPECT_EQ(message->SetProps(2, values, &problems), c.call) << c.name;
    const MapiBuffer<SPropProblemArray> freed(problems);
    if (c.problem == S_OK) {
      EXPECT_EQ(problems, nullptr) << c.name;
    } else {
      ASSERT_NE(problems, nullptr) << c.name;
      EXPECT_EQ(problems->cProblem, 1u) << c.name;
      EXPECT_EQ(problems->aProblem[0].ulIndex, 0u) << c.name;
      EXPECT_EQ(problems->aProblem[0].ulPropTag, c.value.ulPropTag) << c.name;
      EXPECT_EQ(problems->aProblem[0].scode, c.problem) << c.name;
    }
  }
  EXPECT_EQ(message->SetProps(0, nullptr, nullptr), MAPI_E_INVALID_PARAMETER);
}

TEST_F(Properties, GetPropsAnswersInTheOrderAsked) {
  ASSERT_EQ(Set(*message, TextValue(PR_SUBJECT_W, u"Übung")), S_OK);
  ASSERT_EQ(Set(*message, LongValue(PR_IMPORTANCE, 2)), S_OK);
  SizedSPropTagArray<5> tags{
      5,
      {PR_IMPORTANCE, PR_BODY_W, ChangePropType(PR_SUBJECT_W, PT_UNSPECIFIED), PR_SUBJECT_A,
       ChangePropType(PR_SUBJECT_W, PT_LONG)}};
  for (const ULONG flags : {0u, MAPI_UNICODE}) {
    ULONG count = 0;
    MapiBuffer<SPropValue> values;
    EXPECT_EQ(message->GetProps(tags.get(), flags, &count, values.Put()), MAPI_W_ERRORS_RETURNED);
    ASSERT_EQ(count, 5u);
    EXPECT_EQ(values[0].Value.ul, 2u);
    EXPECT_EQ(values[1].ulPropTag, ChangePropType(PR_BODY_W, PT_ERROR));
    EXPECT_EQ(values[1].Value.err, MAPI_E_NOT_FOUND);
    EXPECT_EQ(values[2].ulPropTag, flags == 0 ? PR_SUBJECT_A : PR_SUBJECT_W);
    EXPECT_EQ(std::string(values[3].Value.lpszA),
              "\xC3\x9C"
              "bung");
    EXPECT_EQ(PropType(values[4].ulPropTag), PT_ERROR);
  }
  ULONG count = 1;
  SPropValue* values = nullptr;
  SPropTagArray none{0, {0}};
  EXPECT_EQ(message->GetProps(&none, 0, &count, &values), MAPI_E_INVALID_PARAMETER);
  EXPECT_EQ(message->GetProps(tags.get(), 0, nullptr, &values), MAPI_E_INVALID_PARAMETER);
}

TEST_F(Properties, AllPropertiesAndTheListOfTags) {
  ASSERT_EQ(Set(*message, TextValue(PR_SUBJECT_W, u"s")), S_OK);
  ASSERT_EQ(WriteStream(*message, PR_BODY_HTML_A, "<p>"), S_OK);
  SaveAndOpen();
  MapiBuffer<SPropTagArray> tags;
  ASSERT_EQ(message->GetPropList(MAPI_UNICODE, tags.Put()), S_OK);
  std::vector<ULONG> list(tags->aulPropTag, tags->aulPropTag + tags->cValues);
  std::sort(list.begin(), list.end());
  EXPECT_EQ(std::adjacent_find(list.begin(), list.end(),
                               [](ULONG a, ULONG b) { return PropId(a) == PropId(b); }),
            list.end());
  for (const ULONG tag : {PR_SUBJECT_W, PR_HTML, PR_ENTRYID, PR_DISPLAY_BCC_W, PR_MESSAGE_FLAGS,
                          PR_MESSAGE_RECIPIENTS, PR_MESSAGE_SIZE, PR_NORMALIZED_SUBJECT_W}) {
    EXPECT_TRUE(std::binary_search(list.begin(), list.end(), tag)) << std::hex << tag;
  }
  ULONG count = 0;
  MapiBuffer<SPropValue> all;
  EXPECT_EQ(message->GetProps(nullptr, MAPI_UNICODE, &count, all.Put()), S_OK);
  EXPECT_EQ(count, list.size() - 2);  // but the two tables
}

TEST_F(Properties, FlagsAndTimesFreezeWithTheFirstSave) {
  EXPECT_EQ(Get(*message, PR_MESSAGE_FLAGS).number(), MSGFLAG_UNSENT | MSGFLAG_UNMODIFIED);
  EXPECT_EQ(Get(*message, PR_SEARCH_KEY).bytes().size(), 16u);  // at once
  EXPECT_EQ(Get(*message, PR_ENTRYID).error(), MAPI_E_NOT_FOUND);
  EXPECT_EQ(Get(*message, PR_NORMALIZED_SUBJECT_W).error(), MAPI_E_NOT_FOUND);
  // Bits that are the store's to set are dropped.
  EXPECT_EQ(Set(*message, LongValue(PR_MESSAGE_FLAGS, 0x33)), S_OK);
  EXPECT_EQ(Set(*message, TimeValue(PR_CREATION_TIME, 77)), S_OK);
  EXPECT_EQ(Set(*message, TimeValue(PR_LAST_MODIFICATION_TIME, 0)), S_OK);
  ASSERT_EQ(message->SaveChanges(FORCE_SAVE), S_OK);
  EXPECT_EQ(Get(*message, PR_MESSAGE_FLAGS).number(), MSGFLAG_READ | MSGFLAG_FROMME);
  EXPECT_EQ(Get(*message, PR_CREATION_TIME).ticks(), 77u);
  EXPECT_EQ(Get(*message, PR_LAST_MODIFICATION_TIME).ticks(), 0u);
  EXPECT_EQ(Get(*message, PR_ENTRYID).bytes().size(), 24u);
  for (const ULONG tag : {PR_MESSAGE_FLAGS, PR_CREATION_TIME, PR_LAST_MODIFICATION_TIME}) {
    EXPECT_EQ(Set(*message, LongValue(tag, 0)), MAPI_E_COMPUTED);
  }
  EXPECT_EQ(Set(*message, LongValue(PR_IMPORTANCE, 0)), S_OK);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_GT(Get(*message, PR_LAST_MODIFICATION_TIME).ticks(), 77u);
  EXPECT_EQ(Get(*message, PR_CREATION_TIME).ticks(), 77u);
  EXPECT_EQ(message->SetReadFlag(CLEAR_READ_FLAG), S_OK);
  EXPECT_EQ(Get(*top, PR_CONTENT_UNREAD).number(), 1u) << "at once";
  EXPECT_EQ(Set(*message, TextValue(PR_SUBJECT_W, u"not saved")), S_OK);
  EXPECT_EQ(message->SetReadFlag(0), S_OK);
  EXPECT_EQ(Get(*MessagesOf(*top).at(0), PR_SUBJECT_W).error(), MAPI_E_NOT_FOUND);
  EXPECT_EQ(Get(*top, PR_CONTENT_UNREAD).number(), 1u) << "with the rest";
  EXPECT_EQ(message->SaveChanges(0), S_OK);
  EXPECT_EQ(Set(*message, LongValue(PR_IMPORTANCE, 1)), MAPI_E_NO_ACCESS);
  EXPECT_EQ(Get(*message, PR_IMPORTANCE).number(), 0u);
}

TEST_F(Properties, TheSecondOfTwoWritersIsTold) {
  ASSERT_EQ(message->SaveChanges(FORCE_SAVE), S_OK);
  const auto first = MessagesOf(*top, MAPI_MODIFY).at(0);
  const auto second = MessagesOf(*top, MAPI_MODIFY).at(0);
  ASSERT_EQ(Set(*first, TextValue(PR_SUBJECT_W, u"first")), S_OK);
  ASSERT_EQ(Set(*second, LongValue(PR_IMPORTANCE, 2)), S_OK);
  ASSERT_EQ(first->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  EXPECT_EQ(second->SaveChanges(KEEP_OPEN_READWRITE), MAPI_E_OBJECT_CHANGED);
  EXPECT_EQ(second->SaveChanges(KEEP_OPEN_READWRITE | FORCE_SAVE), S_OK);
  const auto both = MessagesOf(*top).at(0);
  EXPECT_EQ(Get(*both, PR_SUBJECT_W).text(), u"first");
  EXPECT_EQ(Get(*both, PR_IMPORTANCE).number(), 2u);
  const Got id = Get(*both, PR_ENTRYID);
  SBinary binary = id.value->Value.bin;
  ENTRYLIST list{1, &binary};
  ASSERT_EQ(top->DeleteMessages(&list, 0, nullptr, 0), S_OK);
  ASSERT_EQ(Set(*first, LongValue(PR_IMPORTANCE, 0)), S_OK);
  EXPECT_EQ(first->SaveChanges(FORCE_SAVE), MAPI_E_OBJECT_DELETED);
}

TEST_F(Properties, SubjectPrefixesAreRecognised) {
  struct Case {
    const char* name;
    const char16_t* subject;
    const char16_t* given;  // null: not set
    const char16_t* prefix;
    const char16_t* rest;
  } const cases[] = {
      {"reply", u"Re: x", nullptr, u"Re: ", u"x"},
      {"three letters", u"FWD: x", nullptr, u"FWD: ", u"x"},
      {"four letters", u"Note: x", nullptr, u"", u"Note: x"},
      {"no blank", u"Re:x", nullptr, u"", u"Re:x"},
      {"digit", u"R2: x", nullptr, u"", u"R2: x"},
      {"nothing before", u": x", nullptr, u"", u": x"},
      {"other script", u"Отв: x", nullptr, u"Отв: ", u"x"},
      {"given", u"Your mail: x", u"Your mail: ", u"Your mail: ", u"x"},
      {"given, but not there", u"Re: x", u"Fw: ", u"Re: ", u"x"},
      {"marks of the file format", u"\x0001\x0005Re: x", nullptr, u"", u"\x0001\x0005Re: x"},
      {"empty", u"", nullptr, u"", u""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    auto one = NewMessage(*top);
    ASSERT_EQ(Set(*one, TextValue(PR_SUBJECT_W, c.subject)), S_OK);
    if (c.given != nullptr) {
      ASSERT_EQ(Set(*one, TextValue(PR_SUBJECT_PREFIX_W, c.given)), S_OK);
    }
    ASSERT_EQ(one->SaveChanges(FORCE_SAVE), S_OK);
    EXPECT_EQ(Get(*one, PR_SUBJECT_W).text(), c.subject);
    EXPECT_EQ(Get(*one, PR_SUBJECT_PREFIX_W).text(), c.prefix);
    EXPECT_EQ(Get(*one, PR_NORMALIZED_SUBJECT_W).text(), c.rest);
    EXPECT_EQ(Get(*one, PR_CONVERSATION_TOPIC_W).text(), c.rest);
    // A second save keeps them.
    ASSERT_EQ(Set(*one, LongValue(PR_IMPORTANCE, 2)), S_OK);
    ASSERT_EQ(one->SaveChanges(FORCE_SAVE), S_OK);
    EXPECT_EQ(Get(*one, PR_SUBJECT_W).text(), c.subject);
    EXPECT_EQ(Get(*one, PR_SUBJECT_PREFIX_W).text(), c.prefix);
  }
}

TEST_F(Properties, HtmlHasOneValueUnderThreeTags) {
  ASSERT_EQ(Set(*message, LongValue(PR_INTERNET_CPID, 1252)), S_OK);
  ASSERT_EQ(Set(*message, TextValue(PR_BODY_HTML_W, u"<p>é")), S_OK);
  EXPECT_EQ(Get(*message, PR_HTML).bytes(), "<p>\xE9");
  ASSERT_EQ(Set(*message, AnsiValue(PR_BODY_HTML_A, "<b>\xE8")), S_OK);
  SaveAndOpen();
  EXPECT_EQ(Get(*message, PR_HTML).bytes(), "<b>\xE8");
  EXPECT_EQ(Get(*message, PR_BODY_HTML_A).chars(), "<b>\xE8");
  EXPECT_EQ(Get(*message, PR_BODY_HTML_W).text(), u"<b>è");
  EXPECT_EQ(ReadStream(*message, PR_BODY_HTML_W), BytesOf(u"<b>è"));
}

TEST_F(Properties, EightBitTextIsInTheAnsiCodePage) {
  const unsigned before = platform::AnsiCodePage();
  platform::SetAnsiCodePage(1252);
  EXPECT_EQ(Set(*message, AnsiValue(PR_SUBJECT_A, "caf\xE9")), S_OK);
  EXPECT_EQ(WriteStream(*message, PR_BODY_A, "\x80"), S_OK);
  // Too large to be held in both forms.
  const std::string large(3'000'000, '\xE9');
  EXPECT_EQ(Set(*message, AnsiValue(PR_TRANSPORT_MESSAGE_HEADERS_A, large.c_str())), S_OK);
  SaveAndOpen();
  EXPECT_TRUE(ReadStream(*message, PR_TRANSPORT_MESSAGE_HEADERS_W) ==
              BytesOf(std::u16string(large.size(), u'é')));
  EXPECT_EQ(Get(*message, PR_SUBJECT_W).text(), u"café");
  EXPECT_EQ(Get(*message, PR_BODY_W).text(), u"€");
  EXPECT_EQ(Get(*message, PR_SUBJECT_A).chars(), "caf\xE9");
  EXPECT_EQ(ReadStream(*message, PR_BODY_A), "\x80");
  platform::SetAnsiCodePage(before);
}

TEST_F(Properties, LoneSurrogatesNeverReachTheFile) {
  const char16_t lone[] = {u'a', 0xD800, u'b', 0};
  ASSERT_EQ(Set(*message, TextValue(PR_SUBJECT_W, lone)), S_OK);
  ASSERT_EQ(WriteStream(*message, PR_BODY_W, BytesOf(lone)), S_OK);
  SaveAndOpen();
  EXPECT_EQ(Get(*message, PR_SUBJECT_W).text(),
            u"a\xFFFD"
            u"b");
  EXPECT_EQ(Get(*message, PR_BODY_W).text(),
            u"a\xFFFD"
            u"b");
}

TEST_F(Properties, DeletedPropertiesAreGoneAfterTheSave) {
  ASSERT_EQ(Set(*message, TextValue(PR_SUBJECT_W, u"s")), S_OK);
  ASSERT_EQ(WriteStream(*message, PR_BODY_W, BytesOf(std::u16string(100'000, u'b'))), S_OK);
  ASSERT_EQ(Set(*message, TextValue(PR_INTERNET_MESSAGE_ID_W, u"<id>")), S_OK);
  ASSERT_EQ(Set(*message, LongValue(PR_PRIORITY, 1)), S_OK);
  SaveAndOpen();
  SizedSPropTagArray<5> tags{
      5, {PR_BODY_A, PR_IMPORTANCE, PR_ENTRYID, PR_INTERNET_MESSAGE_ID_W, PR_PRIORITY}};
  SPropProblemArray* problems = nullptr;
  ASSERT_EQ(message->DeleteProps(tags.get(), &problems), S_OK);
  const MapiBuffer<SPropProblemArray> freed(problems);
  ASSERT_EQ(problems->cProblem, 2u);
  EXPECT_EQ(problems->aProblem[0].scode, MAPI_E_NOT_FOUND);
  EXPECT_EQ(problems->aProblem[1].scode, MAPI_E_COMPUTED);
  EXPECT_EQ(Get(*message, PR_BODY_W).error(), MAPI_E_NOT_FOUND) << "types do not matter";
  ASSERT_EQ(Set(*message, LongValue(PR_PRIORITY, 2)), S_OK);
  const ULONG before = *Get(*message, PR_MESSAGE_SIZE).number();
  SaveAndOpen(0);
  EXPECT_EQ(Get(*message, PR_BODY_W).error(), MAPI_E_NOT_FOUND);
  EXPECT_EQ(Get(*message, PR_INTERNET_MESSAGE_ID_W).error(), MAPI_E_NOT_FOUND);
  EXPECT_EQ(Get(*message, PR_PRIORITY).number(), 2u);
  EXPECT_EQ(Get(*message, PR_SUBJECT_W).text(), u"s");
  EXPECT_LT(*Get(*message, PR_MESSAGE_SIZE).number() + 150'000, before);
}

TEST_F(Properties, NamesAreTheStoresAndSurvive) {
  GUID set = PS_PUBLIC_STRINGS;
  GUID common = PSETID_Common;
  GUID mapiSet = PS_MAPI;
  MAPINAMEID text{&set, MNID_STRING, {}};
  text.Kind.lpwstrName = const_cast<char16_t*>(u"Colour");
  MAPINAMEID number{&common, MNID_ID, {}};
  number.Kind.lID = 0x8554;
  MAPINAMEID standard{&mapiSet, MNID_ID, {}};
  standard.Kind.lID = 0x37;
  MAPINAMEID* names[] = {&text, &number, &standard};
  MapiBuffer<SPropTagArray> tags;
  ASSERT_EQ(message->GetIDsFromNames(3, names, 0, tags.Put()), MAPI_W_ERRORS_RETURNED);
  EXPECT_EQ(tags->aulPropTag[0], PropTag(PT_ERROR, 0));
  EXPECT_EQ(tags->aulPropTag[2], PropTag(PT_UNSPECIFIED, 0x37));
  EXPECT_EQ(message->GetIDsFromNames(0, nullptr, MAPI_CREATE, tags.Put()),
            MAPI_E_INVALID_PARAMETER);
  ASSERT_EQ(message->GetIDsFromNames(3, names, MAPI_CREATE, tags.Put()), S_OK);
  const ULONG colour = tags->aulPropTag[0];
  EXPECT_EQ(PropType(colour), PT_UNSPECIFIED);
  EXPECT_GE(PropId(colour), 0x8000u);
  ASSERT_EQ(Set(*message, TextValue(ChangePropType(colour, PT_UNICODE), u"red")), S_OK);
  SaveAndOpen();
  message.Reset();
  Reopen();
  ASSERT_EQ(store->GetIDsFromNames(2, names, 0, tags.Put()), S_OK);
  EXPECT_EQ(tags->aulPropTag[0], colour);
  message = MessagesOf(*top).at(0);
  EXPECT_EQ(Get(*message, ChangePropType(colour, PT_UNICODE)).text(), u"red");

  SizedSPropTagArray<2> asked{2, {colour, PropTag(PT_UNSPECIFIED, 0xFFF0)}};
  SPropTagArray* list = asked.get();
  ULONG count = 0;
  MapiBuffer<MAPINAMEID*> found;
  EXPECT_EQ(message->GetNamesFromIDs(&list, nullptr, 0, &count, found.Put()),
            MAPI_W_ERRORS_RETURNED);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(std::u16string(found[0]->Kind.lpwstrName), u"Colour");
  EXPECT_EQ(*found[0]->lpguid, set);
  EXPECT_EQ(found[1], nullptr);
}

TEST_F(Properties, FoldersAreWrittenAtOnce) {
  const auto folder = MakeFolder(*top, u"Mail");
  EXPECT_EQ(Set(*folder, TextValue(PR_CONTAINER_CLASS_W, u"IPF.Contact")), S_OK);
  EXPECT_EQ(Set(*folder, TextValue(PR_COMMENT_W, u"c")), S_OK);
  EXPECT_EQ(Set(*folder, LongValue(PR_CONTENT_COUNT, 3)), MAPI_E_COMPUTED);
  EXPECT_EQ(Set(*folder, LongValue(0, 3)), MAPI_E_INVALID_TYPE);
  EXPECT_EQ(folder->SaveChanges(FORCE_SAVE), S_OK);
  const auto again = MakeFolder(*top, u"mail");
  EXPECT_EQ(Get(*again, PR_CONTAINER_CLASS_W).text(), u"IPF.Contact");
  EXPECT_EQ(Get(*again, PR_ENTRYID).bytes(), Get(*folder, PR_ENTRYID).bytes());
  EXPECT_EQ(Get(*again, PR_PARENT_ENTRYID).bytes(), Get(*top, PR_ENTRYID).bytes());
  EXPECT_EQ(Get(*again, PR_RECORD_KEY).bytes(), Get(*folder, PR_ENTRYID).bytes());
  EXPECT_EQ(Get(*again, PR_FOLDER_TYPE).number(), FOLDER_GENERIC);
  EXPECT_EQ(Get(*top, PR_SUBFOLDERS).number(), 1u);
  ComPointer<IMAPIFolder> root;
  ASSERT_EQ(store->OpenEntry(0, nullptr, nullptr, 0, nullptr, root.PutUnknown()), S_OK);
  EXPECT_EQ(Get(*root, PR_PARENT_ENTRYID).bytes(), Get(*root, PR_ENTRYID).bytes());
  EXPECT_EQ(Get(*root, PR_FOLDER_TYPE).number(), FOLDER_ROOT);

  struct Case {
    ULONG type;
    const char16_t* name;
    ULONG flags;
    HRESULT expected;
  } const cases[] = {{FOLDER_GENERIC, u"MAIL", MAPI_UNICODE, MAPI_E_COLLISION},
                     {FOLDER_SEARCH, u"s", MAPI_UNICODE, MAPI_E_NO_SUPPORT},
                     {FOLDER_GENERIC, nullptr, MAPI_UNICODE, MAPI_E_INVALID_PARAMETER},
                     {FOLDER_GENERIC, u"", MAPI_UNICODE, MAPI_E_INVALID_PARAMETER}};
  for (const Case& c : cases) {
    auto* out = reinterpret_cast<IMAPIFolder*>(1);
    EXPECT_EQ(top->CreateFolder(c.type, ToTString(c.name), nullptr, nullptr, c.flags, &out),
              c.expected);
    EXPECT_EQ(out, nullptr);
  }
}

}  // namespace
}  // namespace parvane::mapi
