// Converted messages, read back from the closed file and compared with what they came from.

#include <algorithm>

#include "convert/properties/mapi_properties.h"
#include "mapi/options.h"
#include "mime/email_structure.h"
#include "tests/convert/mail_file.h"
#include "tests/support/time_zone.h"
#include "tests/support/unwilling_object.h"

namespace {

using namespace mapi_reading;
using parvane::convert::MailInHand;
using parvane::convert::PartKind;
using Strings = std::vector<std::string>;

constexpr ULONG kReturnPath = 0x1046001F;
constexpr ULONG kReplyAddresses = 0x3FFC001F;

// 2013-06-03 10:20:30 +0200
constexpr std::string_view kDate = "Date: Mon, 3 Jun 2013 10:20:30 +0200\r\n";
constexpr std::int64_t kDateSeconds = 1370247630;

class ConvertedMessage : public MailFile {
 protected:
  std::vector<Strings> Recipients(IMessage& message) {
    ComPointer<IMAPITable> table;
    message.GetRecipientTable(MAPI_UNICODE, table.Put());
    return Rows(*table, {PR_RECIPIENT_TYPE, PR_DISPLAY_NAME_W, PR_EMAIL_ADDRESS_W, PR_ADDRTYPE_W});
  }

  std::vector<ComPointer<IAttach>> Attachments(IMessage& message) {
    ComPointer<IMAPITable> table;
    message.GetAttachmentTable(MAPI_UNICODE, table.Put());
    std::vector<ComPointer<IAttach>> attachments;
    for (const Strings& row : Rows(*table, {PR_ATTACH_NUM})) {
      attachments.emplace_back();
      message.OpenAttach(static_cast<ULONG>(std::stoul(row[0])), nullptr, 0,
                         attachments.back().Put());
    }
    return attachments;
  }

  static ComPointer<IMessage> Embedded(IAttach& attachment) {
    ComPointer<IMessage> inner;
    attachment.OpenProperty(PR_ATTACH_DATA_OBJ, &IID_IMessage, 0, 0, inner.PutUnknown());
    return inner;
  }
};

TEST_F(ConvertedMessage, HasEveryHeaderAndBothBodies) {
  const std::string headers =
      "Return-Path: <bounce@x.org>\r\nFrom: =?utf-8?Q?J=C3=BCrgen?= <j@x.org>\r\n"
      "To: a@x.org\r\nSubject: =?koi8-r?B?8NLJ18XU?= again\r\n" +
      std::string(kDate) +
      "Message-ID: <1@x.org>\r\nIn-Reply-To: <0@x.org>\r\nReferences: <00@x.org>\r\n <0@x.org>\r\n"
      "Content-Type: multipart/alternative; boundary=b\r\n";
  Convert({headers +
           "\r\n--b\r\nContent-Type: text/plain; charset=iso-8859-1\r\n"
           "Content-Transfer-Encoding: quoted-printable\r\n\r\ngr=FC=DFe =80\r\n"
           "--b\r\nContent-Type: text/html; charset=koi8-r\r\n\r\n<p>\xF0\xD2</p>\r\n--b--\r\n"});
  const auto message = Message();
  EXPECT_EQ(Text(*message, PR_MESSAGE_CLASS_W), "IPM.Note");
  const std::string stored = Text(*message, PR_TRANSPORT_MESSAGE_HEADERS_W).value_or("");
  EXPECT_TRUE(stored.starts_with(headers)) << stored;
  EXPECT_EQ(Text(*message, kReturnPath), "<bounce@x.org>");
  EXPECT_EQ(Text(*message, PR_SUBJECT_W), "Привет again");
  EXPECT_EQ(Text(*message, PR_INTERNET_MESSAGE_ID_W), "<1@x.org>");
  EXPECT_EQ(Text(*message, PR_IN_REPLY_TO_W), "<0@x.org>");
  EXPECT_EQ(Text(*message, PR_INTERNET_REFERENCES_W), "<00@x.org> <0@x.org>");
  EXPECT_EQ(Long(*message, PR_INTERNET_CPID), 65001);
  EXPECT_EQ(Text(*message, PR_BODY_W), "grüße €");
  EXPECT_EQ(Stream(*message, PR_HTML), "<p>Пр</p>");
  EXPECT_TRUE(report.unconvertedParts.empty());
}

TEST_F(ConvertedMessage, LacksWhatItsSourceLacks) {
  Convert({"X: y\r\nSubject:  \r\n\r\n"});
  const auto message = Message();
  for (const ULONG tag :
       {kReturnPath, PR_INTERNET_MESSAGE_ID_W, PR_IN_REPLY_TO_W, PR_INTERNET_REFERENCES_W,
        PR_SENDER_NAME_W, PR_SENT_REPRESENTING_NAME_W, PR_REPLY_RECIPIENT_NAMES_W}) {
    EXPECT_EQ(Text(*message, tag), std::nullopt) << std::hex << tag;
  }
  EXPECT_EQ(Bytes(*message, PR_REPLY_RECIPIENT_ENTRIES), std::nullopt);
  EXPECT_EQ(Time(*message, PR_CLIENT_SUBMIT_TIME), std::nullopt);
  EXPECT_EQ(Bytes(*message, PR_HTML), std::nullopt);
  EXPECT_TRUE(Recipients(*message).empty());
  EXPECT_TRUE(Attachments(*message).empty());
  EXPECT_EQ(Text(*message, PR_SUBJECT_W).value_or(""), "");
  EXPECT_TRUE(report.dateMissing);
}

TEST_F(ConvertedMessage, KeepsALongBodyWhole) {
  // ASCII goes another way.
  std::string bodies[2];
  for (int i = 0; i < 50000; ++i) {
    bodies[0] += "Zeile " + std::to_string(i) + " mit Größe 𝄞\r\n";
    bodies[1] += "Zeile " + std::to_string(i) + " with letters\r\n";
  }
  const std::string header = "Content-Type: text/plain; charset=utf-8\r\n\r\n";
  Convert({header + bodies[0], header + bodies[1]});
  for (std::size_t i : {0u, 1u}) EXPECT_EQ(Text(*Message(i), PR_BODY_W), bodies[i]) << i;
}

// Takes what is named so, names the other attachments, and writes down what it is told.
class RecordingStep : public parvane::convert::ConversionStep {
 public:
  std::string taken;
  std::vector<std::string> heard;

  void MailBegins(const MailInHand& mail, IMessage&) override { Hear("begin", mail); }
  bool TakePart(const MailInHand& mail, PartKind kind, const Tessary::Email2& part,
                IMessage&) override {
    Hear("part " + std::to_string(static_cast<int>(kind)) + std::string(part.name()), mail);
    return part.name() == taken;
  }
  void AttachmentWritten(const MailInHand& mail, const Tessary::Email2& part,
                         IAttach& attachment) override {
    Hear("written " + std::string(part.name()), mail);
    QuelmarMIMEEngineCommon::OrvMAPIUtilities::SetPropString(&attachment, PR_DISPLAY_NAME_W, u"!");
  }
  bool TakeLeftover(const MailInHand& mail, const Tessary::LeftoverPart& part, IMessage&) override {
    Hear("left " + std::string(part.node->contentType()), mail);
    return part.node->contentType() == taken;
  }
  void MailWritten(const MailInHand& mail, IMessage&) override { Hear("end", mail); }

 private:
  void Hear(const std::string& what, const MailInHand& mail) {
    heard.push_back(std::to_string(mail.depth) + ' ' + what);
  }
};

TEST_F(ConvertedMessage, TakesAStepAlong) {
  const std::string mail =
      "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\ntext\r\n"
      "--b\r\nContent-Type: application/x; name=a\r\n\r\ndata\r\n"
      "--b\r\nContent-Type: application/x; name=b\r\n\r\ndata\r\n"
      "--b\r\nContent-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\ninner\r\n"
      "--b\r\nContent-Type: text/x\r\n\r\nmore\r\n--b--\r\n";
  RecordingStep step;
  const auto convert = [&](Converter& converter, Tessary::TsEmail& email, IMessage& message) {
    converter.SetStep(&step);
    EXPECT_EQ(converter.WriteMail(&email, &message, true), 0);
  };
  const Strings all = {"0 begin",     "0 part 1a",     "0 written a", "0 part 1b",
                       "0 written b", "0 part 2",      "1 begin",     "1 end",
                       "0 written ",  "0 left text/x", "0 end"};
  for (const std::string_view taken : {"-", "b", "text/x"}) {
    report = {};
    step.heard.clear();
    step.taken = taken;
    Convert({mail}, convert);
    Strings expected = all;
    if (taken == "b") std::erase(expected, "0 written b");
    EXPECT_EQ(step.heard, expected) << taken;
    EXPECT_EQ(report.unconvertedParts.size(), taken == "text/x" ? 0u : 1u);
  }
  const auto attachments = Attachments(*Message(1));
  ASSERT_EQ(attachments.size(), 2u) << "one was taken";
  for (const auto& attachment : attachments) EXPECT_EQ(Text(*attachment, PR_DISPLAY_NAME_W), "!");
}

TEST_F(ConvertedMessage, LosesNothingBehindANul) {
  std::string text =
      "From: A?B <a@b>\r\nSubject: c?d\r\nX: e?f\r\nX-Last: g\r\n"
      "Content-Type: multipart/alternative; boundary=b\r\n\r\n"
      "--b\r\nContent-Type: text/plain\r\n\r\nplain? text\r\n"
      "--b\r\nContent-Type: text/html\r\n\r\n<p>?html</p>\r\n"
      "--b\r\nContent-Type: multipart/mixed; boundary=c\r\n\r\n"
      "--c\r\nContent-Type: application/x?y\r\n\r\ndata\r\n--b--\r\n";
  std::replace(text.begin(), text.end(), '?', '\0');
  Convert({text});
  const auto message = Message();
  EXPECT_EQ(Text(*message, PR_SENDER_NAME_W), "AB");
  EXPECT_EQ(Text(*message, PR_SUBJECT_W), "cd");
  const std::string header = Text(*message, PR_TRANSPORT_MESSAGE_HEADERS_W).value_or("");
  EXPECT_NE(header.find("X: ef\r\nX-Last: g\r\n"), header.npos) << header;
  EXPECT_EQ(Text(*message, PR_BODY_W), "plain text");
  EXPECT_EQ(Bytes(*message, PR_HTML), "<p>html</p>");
  EXPECT_EQ(Text(*Attachments(*message).at(0), PR_ATTACH_MIME_TAG_W), "application/xy");
}

TEST_F(ConvertedMessage, HasItsFlagsFromItsHeaders) {
  struct Case {
    const char* header;
    ULONG tag;
    LONG value;
  };
  const Case cases[] = {
      {"X: y", PR_PRIORITY, 0},
      {"Priority: urgent", PR_PRIORITY, 0},
      {"X: y", PR_IMPORTANCE, 1},
      {"Importance: High", PR_IMPORTANCE, 1},
      {"Importance: LOW", PR_IMPORTANCE, 0},
      {"X: y", PR_MESSAGE_FLAGS, 0},
      {"X-Mozilla-Status: 0001", PR_MESSAGE_FLAGS, 1},
      {"X-Mozilla-Status: 0011", PR_MESSAGE_FLAGS, 1},
      {"X-Mozilla-Status: 0010", PR_MESSAGE_FLAGS, 0},
      {"X-Mozilla-Status: 0000", PR_MESSAGE_FLAGS, 0},
      {"X-Mozilla-Status: 8", PR_MESSAGE_FLAGS, 0},
      {"X-Mozilla-Status: b", PR_MESSAGE_FLAGS, 1},
  };
  std::vector<std::string> texts;
  for (const Case& test : cases) texts.push_back(std::string(test.header) + "\r\n\r\nbody\r\n");
  Convert(texts);
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const LONG value = Long(*Message(i), cases[i].tag).value_or(-1);
    // Of the flags only read, unmodified and unsent are of interest: nothing is either of those.
    EXPECT_EQ(cases[i].tag == PR_MESSAGE_FLAGS ? value & 0xB : value, cases[i].value)
        << cases[i].header;
  }
}

TEST_F(ConvertedMessage, HasItsTimesFromDateAndDeliveryDate) {
  struct Case {
    std::string headers;
    std::optional<std::int64_t> submitted;
    std::optional<std::int64_t> delivered;
  };
  const std::string date(kDate);
  const Case cases[] = {
      {date, kDateSeconds, kDateSeconds},
      {date + "Delivery-Date: Mon, 3 Jun 2013 08:20:31 GMT\r\n", kDateSeconds, kDateSeconds + 1},
      {date + "Delivery-Date: never\r\n", kDateSeconds, kDateSeconds},
      {"Date: never\r\n", -1, -1},
      {"Delivery-Date: Mon, 3 Jun 2013 08:20:31 GMT\r\n", std::nullopt, kDateSeconds + 1},
  };
  std::vector<std::string> texts;
  for (const Case& test : cases) texts.push_back(test.headers + "\r\nbody\r\n");
  ASSERT_TRUE(parvane::UseTimeZone("Asia/Kolkata")) << "times are the same everywhere";
  Convert(texts);
  parvane::platform::SetLocalTimeZone("");
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const auto message = Message(i);
    EXPECT_EQ(Time(*message, PR_CLIENT_SUBMIT_TIME), cases[i].submitted) << cases[i].headers;
    EXPECT_EQ(Time(*message, PR_MESSAGE_DELIVERY_TIME), cases[i].delivered) << cases[i].headers;
    if (cases[i].submitted.value_or(-1) > 0) {
      EXPECT_EQ(Time(*message, PR_LAST_MODIFICATION_TIME), cases[i].submitted);
    }
  }
}

TEST_F(ConvertedMessage, NamesItsOriginators) {
  struct Case {
    const char* headers;
    Strings sentRepresenting;  // name, address; none: absent
    Strings sender;
  };
  const Case cases[] = {
      {"From: a@x.org\r\n", {"a@x.org", "a@x.org"}, {"a@x.org", "a@x.org"}},
      {"From: A <a@x.org>\r\nSender: B <b@x.org>, c@x.org\r\n", {"A", "a@x.org"}, {"B", "b@x.org"}},
      {"From: A <a@x.org>\r\nSender:\r\n", {"A", "a@x.org"}, {"A", "a@x.org"}},
      {"Sender: =?utf-8?B?w7w=?= <b@x.org>\r\n", {}, {"ü", "b@x.org"}},
      {"From: Nobody\r\n", {"Nobody", "-@-"}, {"Nobody", "-@-"}},
      {"Sender: \"Surname\" <  >,\"Given\\\"\" < a@x.org >\r\n", {}, {"Surname, Given", "a@x.org"}},
      {"X: y\r\n", {}, {}},
  };
  std::vector<std::string> texts;
  for (const Case& test : cases) texts.push_back(std::string(test.headers) + "\r\nbody\r\n");
  Convert(texts);
  const auto originator = [](IMessage& message, ULONG id, ULONG name, ULONG type, ULONG address) {
    if (!Text(message, name)) return Strings();
    const std::string shown = Text(message, name).value_or("none");
    const std::string mail = Text(message, address).value_or("none");
    EXPECT_EQ(Text(message, type), "SMTP");
    EXPECT_EQ(OneOffStrings(Bytes(message, id).value_or("")), (Strings{shown, "SMTP", mail}));
    return Strings{shown, mail};
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(cases[i].headers);
    const auto message = Message(i);
    EXPECT_EQ(originator(*message, PR_SENT_REPRESENTING_ENTRYID, PR_SENT_REPRESENTING_NAME_W,
                         PR_SENT_REPRESENTING_ADDRTYPE_W, PR_SENT_REPRESENTING_EMAIL_ADDRESS_W),
              cases[i].sentRepresenting);
    EXPECT_EQ(originator(*message, PR_SENDER_ENTRYID, PR_SENDER_NAME_W, PR_SENDER_ADDRTYPE_W,
                         PR_SENDER_EMAIL_ADDRESS_W),
              cases[i].sender);
  }
}

TEST_F(ConvertedMessage, ListsWhomToReplyTo) {
  Convert({"Reply-To: A <a@x.org>, longer name <b@x.org>, c@x.org\r\n\r\nbody\r\n",
           "Reply-To:\r\n\r\nbody\r\n",
           "Reply-To: \"A,B\" < a@x.org >,\"C\" < c@x.org >\r\n\r\nbody\r\n"});
  const auto message = Message();
  EXPECT_EQ(Text(*message, PR_REPLY_RECIPIENT_NAMES_W), "A;longer name;c@x.org");
  EXPECT_EQ(Text(*message, kReplyAddresses), "a@x.org;b@x.org;c@x.org");

  const std::string list = Bytes(*message, PR_REPLY_RECIPIENT_ENTRIES).value_or("");
  const auto number = [&](std::size_t at) {
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
      value = value << 8 | static_cast<unsigned char>(list.at(at + static_cast<std::size_t>(i)));
    return value;
  };
  ASSERT_EQ(number(0), 3u);
  EXPECT_EQ(number(4), list.size() - 8);
  std::vector<Strings> entries;
  for (std::size_t at = 8; at < list.size();) {
    const std::size_t size = number(at);
    entries.push_back(OneOffStrings(std::string_view(list).substr(at + 4, size)));
    at += size + 4 + (size + 4) % 4;
  }
  EXPECT_EQ(entries, (std::vector<Strings>{{"A", "SMTP", "a@x.org"},
                                           {"longer name", "SMTP", "b@x.org"},
                                           {"c@x.org", "SMTP", "c@x.org"}}));

  const auto empty = Message(1);
  EXPECT_EQ(Text(*empty, PR_REPLY_RECIPIENT_NAMES_W), std::nullopt);
  EXPECT_EQ(Bytes(*empty, PR_REPLY_RECIPIENT_ENTRIES), std::string(8, '\0'));
  EXPECT_EQ(Text(*Message(2), PR_REPLY_RECIPIENT_NAMES_W), "A, B;C") << "every comma cuts";
}

TEST_F(ConvertedMessage, ListsItsRecipientsInOrder) {
  Convert(
      {"Bcc: f@x.org\r\nCc: d@x.org, E <e@x.org>\r\n"
       "To: a@x.org, =?iso-8859-1?Q?B=F6?= <b@x.org>, Nobody\r\n\r\nbody\r\n"});
  EXPECT_EQ(Recipients(*Message()), (std::vector<Strings>{{"1", "a@x.org", "a@x.org", "SMTP"},
                                                          {"1", "Bö", "b@x.org", "SMTP"},
                                                          {"1", "Nobody", "-@-", "SMTP"},
                                                          {"2", "d@x.org", "d@x.org", "SMTP"},
                                                          {"2", "E", "e@x.org", "SMTP"},
                                                          {"3", "f@x.org", "f@x.org", "SMTP"}}));
}

TEST_F(ConvertedMessage, KnowsWhoReceivedItWhenAsked) {
  Convert({"Delivered-To: Me <me@x.org>, you@x.org\r\n\r\nbody\r\n", "Delivered-To:\r\n\r\nb\r\n"},
          [](Converter& converter, Tessary::TsEmail& email, IMessage& message) {
            converter.WriteDeliveredTo(&email, &message);
          });
  const auto message = Message();
  EXPECT_EQ(Text(*message, PR_RECEIVED_BY_NAME_W), "Me");
  EXPECT_EQ(Text(*message, PR_RECEIVED_BY_ADDRTYPE_W), "SMTP");
  EXPECT_EQ(Text(*message, PR_RECEIVED_BY_EMAIL_ADDRESS_W), "me@x.org");
  EXPECT_EQ(OneOffStrings(Bytes(*message, PR_RECEIVED_BY_ENTRYID).value_or("")),
            (Strings{"Me", "SMTP", "me@x.org"}));
  EXPECT_EQ(Text(*Message(1), PR_RECEIVED_BY_NAME_W), std::nullopt);
}

// HTML with an image, a file, a nameless file and a forwarded message with a file of its own.
std::string MailWithEverything(const std::string& fileBytesInBase64) {
  return "Content-Type: multipart/mixed; boundary=m\r\n\r\n"
         "--m\r\nContent-Type: multipart/related; boundary=r\r\n\r\n"
         "--r\r\nContent-Type: text/html\r\n\r\n<img src=cid:i@x>\r\n"
         "--r\r\nContent-Type: image/png; name=i.png\r\nContent-ID: <i@x>\r\n"
         "Content-Location: http://x/i.png\r\n\r\npixels\r\n--r--\r\n"
         "--m\r\nContent-Type: application/pdf; name*=utf-8''%c3%bc.pdf\r\n"
         "Content-Disposition: attachment\r\nContent-ID: <p@x>\r\n"
         "Content-Transfer-Encoding: base64\r\n\r\n" +
         fileBytesInBase64 +
         "\r\n--m\r\nContent-Type: application/x-unknown\r\n\r\nnameless\r\n"
         "--m\r\nContent-Type: message/rfc822\r\n\r\n"
         "From: Inner <in@x.org>\r\nSubject: inner\r\nX-Mozilla-Status: 0001\r\n"
         "Content-Type: multipart/mixed; boundary=n\r\n\r\n"
         "--n\r\nX: y\r\n\r\ninner text\r\n--n\r\nContent-Type: text/plain; name=in.txt\r\n"
         "Content-Disposition: attachment\r\n\r\ninner file\r\n--n--\r\n--m--\r\n";
}

TEST_F(ConvertedMessage, CarriesRelatedItemsFilesAndMessages) {
  Convert({MailWithEverything("AAECAwD/")});
  const auto message = Message();
  const auto attachments = Attachments(*message);
  ASSERT_EQ(attachments.size(), 4u);

  IAttach& image = *attachments[0];
  EXPECT_EQ(Long(image, PR_ATTACH_METHOD), 1);
  EXPECT_EQ(Text(image, PR_ATTACH_CONTENT_ID_W), "i@x");
  EXPECT_EQ(Text(image, PR_ATTACH_CONTENT_LOCATION_W), "http://x/i.png");
  EXPECT_EQ(Text(image, PR_ATTACH_MIME_TAG_W), "image/png");
  EXPECT_EQ(Text(image, PR_ATTACH_LONG_FILENAME_W), "i.png");
  EXPECT_EQ(Text(image, PR_DISPLAY_NAME_W), "i.png");
  EXPECT_EQ(Bytes(image, PR_ATTACH_DATA_BIN), "pixels");

  IAttach& file = *attachments[1];
  EXPECT_EQ(Long(file, PR_ATTACH_METHOD), 1);
  EXPECT_EQ(Text(file, PR_ATTACH_CONTENT_ID_W), "p@x");
  EXPECT_EQ(Text(file, PR_ATTACH_MIME_TAG_W), "application/pdf");
  EXPECT_EQ(Text(file, PR_ATTACH_LONG_FILENAME_W), "ü.pdf");
  EXPECT_EQ(Text(file, PR_ATTACH_CONTENT_LOCATION_W), std::nullopt);
  EXPECT_EQ(Bytes(file, PR_ATTACH_DATA_BIN), std::string("\0\1\2\3\0\xFF", 6));

  EXPECT_EQ(Text(*attachments[2], PR_ATTACH_LONG_FILENAME_W), "attachedFile.dat");
  EXPECT_EQ(Text(*attachments[2], PR_ATTACH_CONTENT_ID_W), std::nullopt);

  EXPECT_EQ(Long(*attachments[3], PR_ATTACH_METHOD), 5);
  const auto inner = Embedded(*attachments[3]);
  ASSERT_TRUE(inner);
  EXPECT_EQ(Text(*inner, PR_MESSAGE_CLASS_W), "IPM.Note");
  EXPECT_EQ(Text(*inner, PR_SUBJECT_W), "inner");
  EXPECT_EQ(Text(*inner, PR_SENDER_EMAIL_ADDRESS_W), "in@x.org");
  EXPECT_EQ(Text(*inner, PR_BODY_W), "inner text");
  EXPECT_EQ(Long(*inner, PR_MESSAGE_FLAGS).value_or(0) & 1, 1);
  const auto innerAttachments = Attachments(*inner);
  ASSERT_EQ(innerAttachments.size(), 1u);
  EXPECT_EQ(Text(*innerAttachments[0], PR_ATTACH_LONG_FILENAME_W), "in.txt");
  EXPECT_EQ(Bytes(*innerAttachments[0], PR_ATTACH_DATA_BIN), "inner file");

  EXPECT_EQ(report.attachmentsWritten, 5u);
  EXPECT_EQ(report.attachmentsFailed, 0u);
  EXPECT_TRUE(report.unconvertedParts.empty());
}

TEST_F(ConvertedMessage, ReportsTheLeavesThatReachedNothing) {
  const std::string notice =
      "Content-Type: multipart/report; boundary=b\r\n\r\n--b\r\nX: y\r\n\r\nnotice text\r\n"
      "--b\r\nContent-Type: message/delivery-status; name=d.txt\r\n\r\nStatus: 5.0.0\r\n--b--\r\n";
  Convert({notice});
  EXPECT_EQ(Text(*Message(), PR_BODY_W), "notice text");
  EXPECT_TRUE(report.dateMissing);
  // What is inside an attached message counts, but the message keeps its own date.
  Convert({std::string(kDate) + "Content-Type: message/rfc822\r\n\r\n" + notice});
  EXPECT_FALSE(report.dateMissing);
  ASSERT_EQ(report.unconvertedParts.size(), 2u);
  for (const auto& part : report.unconvertedParts) {
    EXPECT_EQ(part.contentType, "message/delivery-status");
    EXPECT_EQ(part.name, u"d.txt");
  }
}

TEST_F(ConvertedMessage, CountsNoAttachmentThatWasNotSaved) {
  const std::string part = "--m\r\nContent-Type: ";
  const std::string small = part + "application/x\r\n\r\nbytes\r\n";
  const std::string message = part + "message/rfc822\r\n\r\nSubject: inner\r\n\r\ntext\r\n";
  parvane::mapi::BuiltinOptions options;
  options.sizeLimit = 1'000'000;
  parvane::mapi::SetBuiltinOptions(options);
  saves = false;
  Convert({"Content-Type: multipart/mixed; boundary=m\r\n\r\n" + small + part +
           "application/x\r\n\r\n" + std::string(2'000'000, 'x') + "\r\n" + small + message +
           "--m--\r\n"});
  parvane::mapi::SetBuiltinOptions({});
  EXPECT_EQ(report.attachmentsWritten, 1u);
  EXPECT_EQ(report.attachmentsFailed, 3u) << "with the one that fills it all behind it";
}

// Saves what it did not take, as a message whose attachment saves, too, and its message does not.
class Careless final : public parvane::mapi::UnwillingObject<IAttach> {
 public:
  HRESULT PARVANE_STDCALL SaveChanges(ULONG) override { return parvane::mapi::S_OK; }
  HRESULT PARVANE_STDCALL OpenProperty(ULONG tag, const IID*, ULONG, ULONG,
                                       IUnknown** out) override {
    if (tag != PR_ATTACH_DATA_OBJ) return E_FAIL;
    *out = &_inner;
    return parvane::mapi::S_OK;
  }

 private:
  parvane::mapi::UnwillingMessage _inner;
};

TEST_F(ConvertedMessage, CountsNoAttachmentThatWasNotTaken) {
  class : public parvane::mapi::UnwillingMessage {
   public:
    HRESULT PARVANE_STDCALL CreateAttach(const IID*, ULONG, ULONG*, IAttach** out) override {
      *out = &_attachment;
      return parvane::mapi::S_OK;
    }

   private:
    Careless _attachment;
  } careless;
  Convert(
      {"Content-Type: multipart/related; boundary=m\r\n\r\n--m\r\nContent-Type: text/html\r\n\r\nx"
       "\r\n--m\r\nContent-Type: image/png\r\n\r\nx\r\n--m--\r\n",
       "Content-Type: multipart/mixed; boundary=m\r\n\r\n--m\r\nContent-Type: "
       "application/x\r\n\r\nx"
       "\r\n--m\r\nContent-Type: message/rfc822\r\n\r\nSubject: x\r\n\r\nx\r\n--m--\r\n"},
      [&](Converter& converter, Tessary::TsEmail& email, IMessage&) {
        converter.WriteAttachment(&email, &careless);
      });
  EXPECT_EQ(report.attachmentsWritten, 0u);
  EXPECT_EQ(report.attachmentsFailed, 3u);
}

TEST_F(ConvertedMessage, NestsAsDeepAsItsSourceAndNoDeeperThanIsSafe) {
  std::string text = "Subject: level 0\r\n\r\nbody\r\n";
  for (int i = 1; i <= 120; ++i) {
    text =
        "Subject: level " + std::to_string(i) + "\r\nContent-Type: message/rfc822\r\n\r\n" + text;
  }
  // A limit on how deep messages nest holds; what lies beyond it is kept in one piece.
  Convert({text});
  auto message = Message();
  int level = 120;
  while (true) {
    ASSERT_EQ(Text(*message, PR_SUBJECT_W), "level " + std::to_string(level));
    const auto attachments = Attachments(*message);
    if (attachments.empty()) break;
    auto inner = Embedded(*attachments[0]);
    if (!inner || !Text(*inner, PR_SUBJECT_W)) break;
    message = inner;
    --level;
  }
  EXPECT_LE(level, 60);
  EXPECT_EQ(report.attachmentsFailed, 0u);
  EXPECT_TRUE(report.unconvertedParts.empty());
  const auto rest = Attachments(*message);
  ASSERT_EQ(rest.size(), 1u);
  const std::string raw = Bytes(*rest[0], PR_ATTACH_DATA_BIN).value_or("");
  EXPECT_TRUE(raw.ends_with("Subject: level 0\r\n\r\nbody\r\n"));
}

TEST_F(ConvertedMessage, TellsWhatItsOwnerHadRemoved) {
  const std::string part =
      "\r\n\r\nYou deleted an attachment from this message. The original\r\n--b\r\n";
  Convert(
      {"X-Mozilla-Status: 0009\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n"
       "X-Mozilla-Altered: AttachmentDetached; date=\"x\"\r\n"
       "X-Mozilla-External-Attachment-URL: file:///a%20b.pdf\r\n"
       "Content-Type: application/pdf; name=\"a b.pdf\"" +
       part +
       "Content-Type: text/x-moz-deleted; name=\"Deleted: c.png\"\r\n\r\nGone\r\n--b\r\n"
       "Content-Type: multipart/mixed; boundary=c\r\n\r\n--c\r\nContent-Type: image/png" +
       part +
       "Content-Type: message/rfc822\r\n\r\nX-Mozilla-Status: 0001\r\nSubject: You deleted "
       "an attachment from this message.\r\n\r\nYou deleted an attachment from this message.\r\n"
       "--b--\r\n"});
  std::string removed;
  for (const auto& attachment : report.removedAttachments)
    removed += parvane::platform::Utf16ToUtf8(attachment.name) + " " + attachment.url + "\n";
  EXPECT_EQ(removed, "a b.pdf file:///a%20b.pdf\nc.png \n \n");
  EXPECT_TRUE(report.markedDeleted);
  Convert({"X-Mozilla-Status: 0001\r\n\r\nYou deleted an attachment from this message.\r\n"});
  EXPECT_FALSE(report.markedDeleted);
  EXPECT_EQ(report.removedAttachments.size(), 3U);
}

TEST_F(ConvertedMessage, IsNotTouchedWithoutAnEmail) {
  Convert({"Subject: s\r\n\r\nbody\r\n"},
          [](Converter& converter, Tessary::TsEmail& email, IMessage& message) {
            EXPECT_EQ(converter.WriteMail(nullptr, &message, true), -1);
            EXPECT_EQ(converter.WriteMail(&email, nullptr, true), -1);
            converter.AddRecipient(nullptr, nullptr, &message, 1);
            converter.WriteSender(nullptr, &message);
            EXPECT_TRUE(converter.WriteMetaData(nullptr, &message));
            converter.WriteContent(nullptr, &message);
            EXPECT_TRUE(converter.WriteMetaData(&email, nullptr));
            converter.WriteContent(&email, nullptr);
            converter.WriteAttachment_File(nullptr, &email, 0);
          });
  const auto message = Message();
  EXPECT_EQ(Text(*message, PR_SUBJECT_W), std::nullopt);
  EXPECT_EQ(Long(*message, PR_INTERNET_CPID), std::nullopt);
  EXPECT_EQ(Recipients(*message), (std::vector<Strings>{{"1", "-", "-@-", "SMTP"}}));
}

}  // namespace
