#include "moves/content_reader.h"

#include <functional>

#include "tests/mapi_builtin/session_fixture.h"

namespace parvane::moves {
namespace {

using namespace mapi;

// Messages that say the same, or do not, however they say it.
class ContentReader : public SessionTest {
 protected:
  using Change = std::function<void(IMessage&)>;

  void SetUp() override {
    SessionTest::SetUp();
    LogOn();
  }

  static void Text(IMAPIProp& object, ULONG tag, const char16_t* text) {
    ASSERT_EQ(Set(object, TextValue(tag, text)), S_OK);
  }
  static void Attach(IMessage& to, const char16_t* name, std::string_view bytes) {
    auto attach = NewAttachment(to, ATTACH_BY_VALUE);
    Text(*attach, PR_ATTACH_LONG_FILENAME_W, name);
    ASSERT_EQ(WriteStream(*attach, PR_ATTACH_DATA_BIN, bytes), S_OK);
    ASSERT_EQ(attach->SaveChanges(0), S_OK);
  }
  static void Embed(IMessage& to, const char16_t* subject, std::string_view bytes) {
    auto attach = NewAttachment(to, ATTACH_EMBEDDED_MSG);
    {
      auto inner = NewInner(*attach);
      Text(*inner, PR_SUBJECT_W, subject);
      Attach(*inner, u"inner.bin", bytes);
      ASSERT_EQ(inner->SaveChanges(0), S_OK);
    }
    ASSERT_EQ(attach->SaveChanges(0), S_OK);
  }

  void Write(IMessage& message, const Change& change) {
    auto book = AddressBook();
    Text(message, PR_SUBJECT_W, u"Re: Boat on Saturday?");
    Text(message, PR_SENDER_NAME_W, u"Ingrid");
    Text(message, PR_SENDER_EMAIL_ADDRESS_W, u"ingrid@example.org");
    Set(message, TimeValue(PR_CLIENT_SUBMIT_TIME, 132'000'000'000'000'000));
    WriteStream(message, PR_BODY_W, BytesOf(u"The boat leaves at ten.\r\nBring a coat.\r\n"));
    WriteStream(message, PR_HTML,
                "<html><meta charset=utf-8>\r\n<p>The boat leaves at t\xC3\xA9n.</p></html>");
    Set(message, LongValue(PR_INTERNET_CPID, 65001));
    AddRecipient(*book, message, u"Tomas", u"tomas@example.org", MAPI_TO);
    AddRecipient(*book, message, u"Ana", u"ana@example.org", MAPI_CC);
    Attach(message, u"bill.pdf", std::string(100'000, 'b'));
    Embed(message, u"Berth 14", "0123456789");
    if (change) change(message);
  }
  ContentSummary Look(const Change& change, bool saved) {
    auto message = NewMessage(*top);
    Write(*message, change);
    if (!saved) return Summarise(ReadContent(*message));
    EXPECT_EQ(message->SaveChanges(0), S_OK);
    message.Reset();
    return Summarise(ReadContent(*MessagesOf(*top).back()));
  }
};

TEST_F(ContentReader, SeesTheSameBeforeAndAfterTheSave) {
  const ContentSummary before = Look({}, false), after = Look({}, true);
  EXPECT_EQ(Differences(before, after), 0u);
  EXPECT_EQ(before.content, after.content);
}

TEST_F(ContentReader, TellsContentFromForm) {
  struct Case {
    const char* name;
    Change change;
    FieldSet different;
  };
  const auto stream = [](ULONG tag, std::string bytes) {
    return [=](IMessage& m) { ASSERT_EQ(WriteStream(m, tag, bytes), S_OK); };
  };
  const auto text = [](ULONG tag, const char16_t* value) {
    return [=](IMessage& m) { Text(m, tag, value); };
  };
  const auto recipients = [this](std::vector<std::array<const char16_t*, 2>> to, ULONG kind) {
    return [=, this](IMessage& m) {
      ADRLIST none{};
      ASSERT_EQ(m.ModifyRecipients(0, &none), S_OK);
      auto book = AddressBook();
      AddRecipient(*book, m, u"Ana", u"ANA@example.org", MAPI_CC);
      for (const auto& [name, address] : to) AddRecipient(*book, m, name, address, kind);
    };
  };
  const auto attachment = [](ULONG number, std::function<void(IMessage&)> instead) {
    return [=](IMessage& m) {
      ASSERT_EQ(m.DeleteAttach(number, 0, nullptr, 0), S_OK);
      instead(m);
    };
  };
  std::string flipped(100'000, 'b');
  flipped[70'000] = 'c';
  const FieldSet attachments = SetOf(ContentField::kAttachments);
  const Case cases[] = {
      // Form.
      {"wrapped otherwise", stream(PR_BODY_W, BytesOf(u" The boat\tleaves at ten. Bring a\ncoat.")),
       0},
      {"HTML in another code page",
       [&](IMessage& m) {
         stream(PR_HTML,
                "<html><meta charset=\"ISO-8859-1\"> <p>The boat leaves at t\xE9n.</p></html>")(m);
         Set(m, LongValue(PR_INTERNET_CPID, 28591));
       },
       0},
      {"order of recipients, quotes, case",
       recipients({{u"'tomas'", u"Tomas@Example.org"}}, MAPI_TO), 0},
      {"another order of attachments",
       attachment(0, [](IMessage& m) { Attach(m, u"bill.pdf", std::string(100'000, 'b')); }), 0},
      {"told twice who sent it",
       [](IMessage& m) {
         Text(m, PR_SENT_REPRESENTING_NAME_W, u"Ingrid");
         Text(m, PR_SENT_REPRESENTING_EMAIL_ADDRESS_W, u"ingrid@example.org");
       },
       0},
      {"read, flagged", [](IMessage& m) { Set(m, LongValue(PR_FLAG_STATUS, 2)); }, 0},
      {"tenths of a second",
       [](IMessage& m) { Set(m, TimeValue(PR_CLIENT_SUBMIT_TIME, 132'000'000'001'000'000)); }, 0},
      // Content.
      {"subject", text(PR_SUBJECT_W, u"Re: Boat on Sunday?"), SetOf(ContentField::kSubject)},
      {"sender", text(PR_SENDER_EMAIL_ADDRESS_W, u"ingrid@example.com"),
       SetOf(ContentField::kOriginator)},
      {"another author", text(PR_SENT_REPRESENTING_NAME_W, u"Olaf"),
       SetOf(ContentField::kOriginator)},
      {"recipient dropped", recipients({}, MAPI_TO), SetOf(ContentField::kRecipients)},
      {"recipient of another kind", recipients({{u"Tomas", u"tomas@example.org"}}, MAPI_BCC),
       SetOf(ContentField::kRecipients)},
      {"date", [](IMessage& m) { Set(m, TimeValue(PR_MESSAGE_DELIVERY_TIME, 10'000'000)); },
       SetOf(ContentField::kDates)},
      {"text", stream(PR_BODY_W, BytesOf(u"The boat leaves at two. Bring a coat.")),
       SetOf(ContentField::kText)},
      {"HTML", stream(PR_HTML, "<html><meta charset=utf-8><p>The boat leaves at ten.</p></html>"),
       SetOf(ContentField::kHtml)},
      {"byte of an attachment",
       attachment(0, [&](IMessage& m) { Attach(m, u"bill.pdf", flipped); }), attachments},
      {"name of an attachment",
       attachment(0, [](IMessage& m) { Attach(m, u"bill.exe", std::string(100'000, 'b')); }),
       attachments},
      {"attachment lost", attachment(0, [](IMessage&) {}), attachments},
      {"inside of a message inside",
       attachment(1, [](IMessage& m) { Embed(m, u"Berth 14", "0123456788"); }), attachments},
      {"subject of a message inside",
       attachment(1, [](IMessage& m) { Embed(m, u"Berth 15", "0123456789"); }), attachments},
  };
  const ContentSummary plain = Look({}, true);
  for (const Case& c : cases)
    EXPECT_EQ(Differences(plain, Look(c.change, true)), c.different) << c.name;
}

TEST_F(ContentReader, ReadsWhatDoesNotFitIntoARow) {
  const std::u16string subject(70'000, u's');
  const auto change = [&](IMessage& m) { Text(m, PR_SUBJECT_W, subject.c_str()); };
  auto message = NewMessage(*top);
  Write(*message, change);
  ASSERT_EQ(message->SaveChanges(0), S_OK);
  message.Reset();
  const MessageContent content = ReadContent(*MessagesOf(*top).back());
  EXPECT_EQ(content.subject.size(), subject.size());
  EXPECT_EQ(content.unreadable, 0u);
  EXPECT_EQ(ReadName(*MessagesOf(*top).back()).subject, content.subject);
}

// A message whose blocks are damaged is not one that says nothing.
TEST_F(ContentReader, MarksWhatCannotBeRead) {
  const ContentSummary whole = Look({}, true);
  Reopen();
  auto& bytes = files[path];
  // The attachment's bytes, as they are encoded in the file.
  std::size_t run = 0, at = 0;
  for (; at < bytes.size() && run < 5'000; ++at)
    run = bytes[at] != std::byte{0} && at > 0 && bytes[at] == bytes[at - 1] ? run + 1 : 0;
  ASSERT_LT(at, bytes.size());
  bytes[at - 1] ^= std::byte{1};
  const MessageContent content = ReadContent(*MessagesOf(*top).front());
  EXPECT_EQ(content.unreadable, SetOf(ContentField::kAttachments));
  EXPECT_EQ(Differences(whole, Summarise(content)), SetOf(ContentField::kAttachments));
}

}  // namespace
}  // namespace parvane::moves
