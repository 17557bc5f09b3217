// What of a message is body, attachment, related item or attached message, and how it is named.
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "mime/facade/ts_email.h"
#include "platform/text.h"
#include "tests/mime/message_builder.h"

namespace {

using namespace Tessary;
using namespace parvane::mime_test;

// A shorthand for trees: "type; parameters | body" lines, nested by indentation of two spaces.
// "disposition ..." and other fields may follow the type after " / ".
struct Line {
  std::size_t depth;
  std::string fields;
  std::string body;
};

std::vector<Line> Lines(std::string_view text) {
  std::vector<Line> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t depth = line.find_first_not_of(' ');
    if (depth == std::string_view::npos) continue;
    line.remove_prefix(depth);
    const std::size_t bar = std::min(line.find(" | "), line.size());
    std::string fields(line.substr(0, bar));
    if (!fields.empty() && fields != "-") fields = "Content-Type: " + fields;
    if (fields == "-") fields.clear();
    for (std::size_t at = fields.find(" / "); at != std::string::npos; at = fields.find(" / ")) {
      fields.replace(at, 3, "\r\n");
    }
    if (fields.starts_with("Content-Type: ?")) {
      const std::size_t next = fields.find("\r\n");
      fields.erase(0, next == std::string::npos ? next : next + 2);
    }
    lines.push_back({depth / 2, std::move(fields),
                     bar < line.size() ? std::string(line.substr(bar + 3)) : std::string()});
  }
  return lines;
}

std::string Build(const std::vector<Line>& lines, std::size_t& at) {
  const Line& line = lines[at++];
  const std::string boundary = "b" + std::to_string(at) + "_";
  std::string text = line.fields;
  const bool container = at < lines.size() && lines[at].depth > line.depth;
  if (container) {
    const std::size_t end = std::min(text.find("\r\n"), text.size());
    text.insert(end, "; boundary=" + boundary);
  }
  if (!text.empty()) text += "\r\n";
  text += "X-Filler: x\r\n\r\n" + line.body;
  while (at < lines.size() && lines[at].depth > line.depth) {
    text += "\r\n--" + boundary + "\r\n" + Build(lines, at);
  }
  return container ? text + "\r\n--" + boundary + "--" : text;
}

std::string Message(std::string_view shorthand) {
  std::size_t at = 0;
  return Build(Lines(shorthand), at);
}

std::string Show(TsEmail& e) {
  std::string text;
  const auto add = [&](const std::string& what, const std::string& value) {
    if (!text.empty()) text += " ";
    text += what + "=" + value;
  };
  TsByteData data;
  if (const std::string body = Get(e, &TsEmail::GetPlainTextBody); body != "(fails)") {
    add("plain", body);
  }
  if (const std::string body = Get(e, &TsEmail::GetHtmlBody); body != "(fails)") add("html", body);
  for (int i = 0; i < e.get_NumAttachments(); ++i) {
    e.GetAttachmentData(i, data);
    add("file", Get(e, &TsEmail::GetAttachmentFilename, i) + ":" + std::string(data.view()));
  }
  for (int i = 0; i < e.get_NumRelatedItems(); ++i) {
    e.GetRelatedData(i, data);
    add("related", Get(e, &TsEmail::GetRelatedFilename, i) + ":" + std::string(data.view()));
  }
  for (int i = 0; i < e.get_NumAttachedMessages(); ++i) {
    const std::unique_ptr<TsEmail> inner(e.GetAttachedMessage(i));
    add("message", inner == nullptr ? "null" : Get(*inner, &TsEmail::get_Subject));
  }
  for (int i = 0; i < e.get_NumLeftoverParts(); ++i) {
    const std::string name = Get(e, &TsEmail::GetLeftoverPartName, i);
    add("left", Get(e, &TsEmail::GetLeftoverPartContentType, i) + ":" +
                    std::to_string(e.GetLeftoverPartSize(i)) + (name.empty() ? "" : ":" + name));
  }
  return text;
}

TEST(Structure, SortsParts) {
  const struct {
    const char* what;
    const char* message;
    const char* expected;
  } cases[] = {
      {"plain text", "text/plain | hi", "plain=hi"},
      {"neither type nor disposition", "- | hi", "plain=hi"},
      {"a type without a subtype", "Text; charset=utf-8 | hi", "plain=hi"},
      {"types without a subtype in parts", "multipart/alternative\n  text/ | hi\n  text/html | <p>",
       "plain=hi html=<p>"},
      {"HTML only", "text/html | <p>", "html=<p>"},
      {"a PDF alone", "application/pdf | %PDF", "file=attachedFile.pdf:%PDF"},
      {"a PDF alone, capital letters", "Application/pdf | %PDF", "left=Application/pdf:4"},
      {"no type but attached", "? / Content-Disposition: attachment; filename=x.y | data",
       "plain=data file=x.y:data"},
      {"alternative", "multipart/alternative\n  text/plain | hi\n  text/html | <p>",
       "plain=hi html=<p>"},
      {"alternative with a calendar",
       "multipart/alternative\n  text/plain | hi\n  text/calendar | BEGIN",
       "plain=hi left=text/calendar:5"},
      {"mixed",
       "multipart/mixed\n  text/plain | hi\n  application/pdf; name=a.pdf | %PDF\n"
       "  ? / Content-Disposition: attachment; filename=b.bin | data",
       "plain=hi file=a.pdf:%PDF file=b.bin:data"},
      {"mixed, a second inline text", "multipart/mixed\n  text/plain | hi\n  text/plain | list",
       "plain=hi left=text/plain:4"},
      {"mixed, a named base64 text first",
       "multipart/mixed\n  text/plain; name=n.txt / Content-Transfer-Encoding: base64 | aGVsbG8=",
       "plain=hello file=n.txt:hello"},
      {"mixed, a named base64 text later",
       "multipart/mixed\n  text/html | <p>\n"
       "  text/plain; name=n.txt / Content-Transfer-Encoding: base64 | aGVsbG8=",
       "html=<p> file=n.txt:hello"},
      {"walks related, alternative, mixed, then its own text",
       "multipart/mixed\n  text/html | last\n  multipart/mixed\n    text/html | third\n"
       "  multipart/alternative\n    text/plain | second\n    text/html | second\n"
       "  multipart/related\n    text/html | first\n    image/gif | GIF89",
       "plain=second html=first related=attachedFile.gif:GIF89 left=text/html:4 left=text/html:5 "
       "left=text/html:6"},
      {"an HTML group with images",
       "multipart/related\n  text/html | <p>\n  image/png; name=a.png | PNG11\n"
       "  image/gif / Content-Location: pics/b.gif | GIF89",
       "html=<p> related=a.png:PNG11 related=pics/b.gif:GIF89"},
      {"an inline image in mixed",
       "multipart/mixed\n  text/plain | hi\n  image/png / Content-Disposition: inline | PNG11",
       "plain=hi file=attachedFile.png:PNG11"},
      {"an image without disposition in mixed",
       "multipart/mixed\n  text/plain | hi\n  image/png | PNG11", "plain=hi left=image/png:5"},
      {"an application part in related is both",
       "multipart/related\n  text/html | <p>\n  application/pdf; name=a | %PDF1",
       "html=<p> file=a:%PDF1 related=a:%PDF1"},
      {"the address of a page element",
       "multipart/related\n  text/html | <p>\n  application/x; name=\"x?a&b\" | data1",
       "html=<p> related=x?a&b:data1"},
      {"a message in mixed",
       "multipart/mixed\n  text/plain | hi\n  message/rfc822 | Subject: inner",
       "plain=hi message=inner"},
      {"an attached message",
       "multipart/mixed\n  text/plain | hi\n"
       "  message/rfc822 / Content-Disposition: attachment; filename=mail.eml | Subject: inner",
       "plain=hi message=inner"},
      {"an attached web page",
       "multipart/mixed\n  text/plain | hi\n"
       "  message/rfc822 / Content-Disposition: attachment; filename=PAGE.MHT | Subject: inner",
       "plain=hi file=PAGE.MHT:Subject: inner"},
      {"a message in base64",
       "multipart/mixed\n"
       "  message/rfc822 / Content-Transfer-Encoding: base64 | U3ViamVjdDogaW5uZXINCg0K",
       "message=inner"},
      {"a message said to be in base64",
       "multipart/mixed\n  message/rfc822 / Content-Transfer-Encoding: base64 | Subject: inner",
       "message=inner"},
      {"messages in document order",
       "multipart/mixed\n  message/rfc822 | Subject: 1\n  multipart/digest\n"
       "    message/rfc822 | Subject: 2\n    message/rfc822 | Subject: 3\n"
       "  message/rfc822 | Subject: 4",
       "message=1 message=2 message=3 message=4"},
      {"signed, signature first",
       "multipart/signed\n  application/pkcs7-signature | SIGN1\n  text/plain | hi",
       "plain=hi left=application/pkcs7-signature:5"},
      {"signed, signature attached",
       "multipart/signed\n  text/plain | hi\n  multipart/mixed\n    application/pkcs7-signature; "
       "name=s.p7s / Content-Disposition: attachment | SIGN1",
       "plain=hi file=s.p7s:SIGN1"},
      {"a signed part in mixed loses its text",
       "multipart/mixed\n  multipart/signed\n    text/plain | hello\n  text/html | <p>",
       "html=<p> left=text/plain:5"},
      {"a report",
       "multipart/report\n  text/plain | failed\n  message/delivery-status | status\n"
       "  message/rfc822 | Subject: inner",
       "plain=failed message=inner left=message/delivery-status:6"},
      {"a report in mixed",
       "multipart/mixed\n  multipart/report\n    text/plain | failed\n    text/rfc822-headers | A: "
       "b",
       "plain=failed left=text/rfc822-headers:4"},
      {"the test of Content-Class",
       "multipart/mixed\n  text/html | <p>\n"
       "  text/plain / Content-Class: urn:content-classes:message | class",
       "plain=class html=<p> file=attachedFile.txt:class"},
      {"certificates by name",
       "multipart/mixed\n  text/plain | hi\n  text/x-a; name=A.PEM | 12345\n"
       "  text/x-a; name=b.gtr | 12345\n  text/x-a; name=c.pmi | 12345",
       "plain=hi file=A.PEM:12345 file=b.gtr:12345 file=c.pmi:12345"},
      {"a signature of the message is no file unless it says so",
       "multipart/mixed\n  text/plain | hi\n"
       "  application/pkcs7-signature; name=a.p7s / Content-Disposition: inline | 12345",
       "plain=hi left=application/pkcs7-signature:5:a.p7s"},
      {"blank parts are nothing", "multipart/mixed\n  text/plain | hi\n  text/plain |      ",
       "plain=hi"},
      {"blank parts with a name are something",
       "multipart/mixed\n  text/plain | hi\n  text/plain; name=a |  ",
       "plain=hi left=text/plain:1:a"},
      {"unknown types are data", "multipart/mixed\n  application/x-new | 12345",
       "file=attachedFile.dat:12345"},
  };
  for (const auto& row : cases) {
    TsEmail email;
    Parse(email, Message(row.message));
    EXPECT_EQ(Show(email), row.expected) << row.what << "\n" << Message(row.message);
    std::string lf = Message(row.message);
    std::erase(lf, '\r');
    Parse(email, lf);
    EXPECT_EQ(Show(email), row.expected) << row.what << ", LF";
    // CR LF where the header is, LF in what is below.
    Parse(email, CrLf(lf.substr(0, lf.find("\n\n") + 1)) + lf.substr(lf.find("\n\n") + 1));
    EXPECT_EQ(Show(email), row.expected) << row.what << ", mixed line ends";
  }
}

TEST(Structure, ReportsPartsTooSmallToKeep) {
  TsEmail email;
  Parse(email, CrLf("Content-Type: multipart/mixed; boundary=b\n\n--b\nabc\n--b\n\n--b\n"
                    "Content-Type: text/plain\n\nhi\n--b--\n"));
  EXPECT_EQ(Show(email), "plain=hi left=:3");
}

TEST(PartNames, AreDerivedAndDecoded) {
  const struct {
    const char* fields;
    const char* name;
  } cases[] = {
      {"application/x; name=n / Content-Disposition: attachment; filename=f", "f"},
      {"application/x; name=n / Content-Disposition: attachment; filename=\"\"", "n"},
      {"application/x / Content-Location: no-dot", "attachedFile.dat"},
      {"application/pdf / Content-Location: http://x/y.pdf", "http://x/y.pdf"},
      {"application/MSWORD", "attachedFile.doc"},
      {"application/x; name=My file (1).pdf", "My file (1).pdf"},
      {"application/x; name=\"C:\\temp\\a \\\"b\\\".txt\"", "C:\\temp\\a \"b\".txt"},
      {"application/x; name=\"never closed", "never closed"},
      {"application/x; name=\"=?utf-8?Q?J=C3=BCrgen.txt?=\"", "J\xC3\xBCrgen.txt"},
      {"application/x; name=\"=?utf-8?q?J=C3=BCrgen.txt?=\"", "J\xC3\xBCrgen.txt"},
      {"application/x; name==?utf-8?B?SsO8cmdlbi50eHQ=?=", "J\xC3\xBCrgen.txt"},
      {"application/x; name=\"=?iso-8859-1?b?SvxyZ2VuLnR4dA==?=\"", "J\xC3\xBCrgen.txt"},
      {"application/x; name=\"J\xFCrgen.txt\"", "J\xC3\xBCrgen.txt"},
      {"application/x; name=\"J\xC3\xBCrgen.txt\"", "J\xC3\xBCrgen.txt"},
      {"application/x; name=\"\x1B$B$\"\x1B(B.txt\"", "\xE3\x81\x82.txt"},
      {"application/x; name*=utf-8''J%C3%BCrgen.txt", "J\xC3\xBCrgen.txt"},
      {"application/x; name*=iso-8859-1'de'J%FCrgen.txt; name=other", "J\xC3\xBCrgen.txt"},
      {"application/x; name*1=\"b.txt\"; name*0=\"a\"", "ab.txt"},
      {"application/x; name*0*=utf-8''J%C3; name*1*=%BC; name*2=\"r%41.txt\"", "J\xC3\xBCr%41.txt"},
      {"application/x; name*0=\"it's Bob's\"; name*1*=%2Etxt", "it's Bob's.txt"},
      {"application/x; name=\"a\x01\x7F\t\xC2\x85\xC2\xA0\xC2\xBF\"", "a\xC2\xA0\xC2\xBF"},
  };
  for (const auto& row : cases) {
    TsEmail email;
    Parse(email, Message(std::string(row.fields) + " | data"));
    EXPECT_EQ(Get(email, &TsEmail::GetAttachmentFilename, 0), row.name) << row.fields;
  }
  TsEmail email;
  Parse(email, Message("application/x; name=\"\x01\" | data"));
  EXPECT_EQ(Get(email, &TsEmail::GetAttachmentFilename, 0), "(fails)");
}

TEST(Headers, AreDecodedForPeople) {
  const struct {
    const char* subject;
    const char* expected;
  } cases[] = {
      {"plain", "plain"},
      {"  two  spaces ", "two  spaces"},
      {"folded\n text", "folded text"},
      {"=?utf-8?Q?a_b?= tail", "a b tail"},
      {"=?utf-8?B?R3LDtg==?=\n =?utf-8?B?w59l?= x",
       "Gr\xC3\xB6\xC3\x9F"
       "e x"},
      {"=?iso-8859-1?q?caf=E9?=", "caf\xC3\xA9"},
      {"caf\xE9", "caf\xC3\xA9"},
      {"caf\xC3\xA9", "caf\xC3\xA9"},
      {"what =?", "what =?"},
      {"=?utf-8?Q?one=0D=0Atwo?=", "one  two"},
  };
  for (const auto& row : cases) {
    TsEmail email;
    Parse(email, CrLf("Subject: " + std::string(row.subject) + "\n\nx"));
    EXPECT_EQ(Get(email, &TsEmail::get_Subject), row.expected);
  }
  TsEmail email;
  Parse(email,
        CrLf("Subject: \xEA\xEE\xF2\nFrom: =?utf-8?Q?A,_B?= <a@b>\nTo: x@y\nto: \"Z\" <z@y>\n"
             "Cc: c@d\nBcc: e@f\nReply-To: =?utf-8?Q?A?= <a@b>\nMessage-ID:\n <i@j>\nDate: today \n"
             "Content-Type: text/plain; charset=windows-1251\n\nx"));
  EXPECT_EQ(Get(email, &TsEmail::get_Subject), "\xD0\xBA\xD0\xBE\xD1\x82");
  EXPECT_EQ(Get(email, &TsEmail::get_From), "\"A, B\" <a@b>");
  EXPECT_EQ(Get(email, &TsEmail::get_FromName), "A, B");
  EXPECT_EQ(Get(email, &TsEmail::get_FromAddress), "a@b");
  EXPECT_EQ(email.get_NumTo(), 2);
  EXPECT_EQ(Get(email, &TsEmail::GetToName, 1), "Z");
  EXPECT_EQ(Get(email, &TsEmail::GetToAddr, 1), "z@y");
  EXPECT_EQ(Get(email, &TsEmail::GetToAddr, 2), "(fails)");
  EXPECT_EQ(Get(email, &TsEmail::GetCcAddr, 0), "c@d");
  EXPECT_EQ(Get(email, &TsEmail::GetBccAddr, 0), "e@f");
  EXPECT_EQ(Get(email, &TsEmail::GetHeaderField, "Reply-To"), "=?utf-8?Q?A?= <a@b>");
  EXPECT_EQ(Get(email, &TsEmail::GetHeaderField, " message-id\t"), "<i@j>");
  EXPECT_EQ(Get(email, &TsEmail::GetHeaderField, "To"), "x@y");
  EXPECT_EQ(Get(email, &TsEmail::get_EmailDateStr), "today");
  const std::string header = Get(email, &TsEmail::get_Header);
  EXPECT_TRUE(header.starts_with("Subject: \xD0\xBA\xD0\xBE\xD1\x82\r\nFrom: =?utf-8"));
  EXPECT_TRUE(header.ends_with("charset=windows-1251\r\n"));
}

TEST(Bodies, AreReadInTheRightCharset) {
  const struct {
    const char* what;
    const char* fields;
    const char* body;
    const char* expected;
  } cases[] = {
      {"declared", "text/plain; charset=iso-8859-2", "\xB1", "\xC4\x85"},
      {"declared without a semicolon", "text/plain charset=iso-8859-2", "\xB1", "\xC4\x85"},
      {"declared with junk behind it", "Text/ Plain (x); charset=iso-8859-2 name=y", "\xB1",
       "\xC4\x85"},
      {"declared us-ascii, but is not", "text/plain; charset=us-ascii", "caf\xE9", "caf\xC3\xA9"},
      {"Latin-1 is Windows-1252", "text/plain; charset=iso-8859-1", "\x80", "\xE2\x82\xAC"},
      {"none, UTF-8", "text/plain", "\xC4\x85", "\xC4\x85"},
      {"none, not UTF-8", "text/plain", "caf\xE9", "caf\xC3\xA9"},
      {"unknown", "text/plain; charset=x-unheard-of", "caf\xE9", "caf\xC3\xA9"},
      {"quoted-printable",
       "text/plain; charset=utf-8 / Content-Transfer-Encoding: Quoted-Printable",
       "=c4=85=", "\xC4\x85"},
      {"meta tag, none declared", "text/html",
       "<META http-equiv=x content=\"text/html; charset=iso-8859-2\">\xB1",
       "<META http-equiv=x content=\"text/html; charset=iso-8859-2\">\xC4\x85"},
      {"meta tag behind another", "text/html",
       "<meta name=generator content='some program that makes pages out of letters'>"
       "<meta charset=iso-8859-2>\xB1",
       "<meta name=generator content='some program that makes pages out of letters'>"
       "<meta charset=iso-8859-2>\xC4\x85"},
      {"meta tag that is wrong", "text/html", "<meta charset='iso-8859-2'>\xC4\x85",
       "<meta charset='iso-8859-2'>\xC4\x85"},
      {"ISO-2022-JP, none declared", "text/plain", "\x1B$B$\"\x1B(B", "\xE3\x81\x82"},
  };
  for (const auto& row : cases) {
    TsEmail email;
    Parse(email, Message(std::string(row.fields) + " | " + row.body));
    const bool html = std::string_view(row.fields).starts_with("text/html");
    EXPECT_EQ(Get(email, html ? &TsEmail::GetHtmlBody : &TsEmail::GetPlainTextBody), row.expected)
        << row.what;
  }
}

TEST(Parts, TellTypeAndIdentity) {
  TsEmail email;
  Parse(email, Message("multipart/related\n  text/html | <p>\n"
                       "  Image/PNG; name=a / Content-ID: <a@b> / Content-Location: x.png | PNG11\n"
                       "  application/pdf / Content-ID: bare | %PDF1"));
  EXPECT_EQ(Get(email, &TsEmail::GetRelatedContentType, 0), "Image/PNG");
  EXPECT_EQ(Get(email, &TsEmail::GetRelatedContentID, 0), "a@b");
  EXPECT_EQ(Get(email, &TsEmail::GetRelatedContentLocation, 0), "x.png");
  EXPECT_EQ(Get(email, &TsEmail::GetRelatedContentID, 1), "bare");
  EXPECT_EQ(Get(email, &TsEmail::GetRelatedContentLocation, 1), "(fails)");
  EXPECT_EQ(Get(email, &TsEmail::GetAttachmentContentID, 0), "bare");
  EXPECT_EQ(Get(email, &TsEmail::GetAttachmentContentType, 0), "application/pdf");
}

TEST(Log, TellsWhyInItsOwnWords) {
  struct Case {
    const char* message;
    void (*act)(TsEmail&);
    const char* says;
  };
  TsString out;
  const Case cases[] = {
      {"", [](TsEmail& e) { Get(e, &TsEmail::get_Subject); },
       "get_Subject:\n    No internal email object\n    Failed.\n--get_Subject\n"},
      {"text/plain | x", [](TsEmail& e) { Get(e, &TsEmail::get_Subject); },
       "get_Subject:\n    Success\n--get_Subject\n"},
      {"text/plain | x", [](TsEmail& e) { Get(e, &TsEmail::GetHeaderField, " "); },
       "    Field name is missing\n"},
      {"text/plain | x", [](TsEmail& e) { Get(e, &TsEmail::GetHeaderField, "To"); },
       "    Header field does not exist\n"},
      {"image/gif | x", [](TsEmail& e) { Get(e, &TsEmail::GetPlainTextBody); },
       "    Did not find alternative based on content-type\n"},
      {"text/plain | x", [](TsEmail& e) { Get(e, &TsEmail::GetHtmlBody); },
       "    No HTML alternative.\n    No HTML body!\n"},
      {"text/html | x", [](TsEmail& e) { Get(e, &TsEmail::GetHtmlBody); },
       "    This is an HTML-only email.  It is not multipart/alternative.\n"},
      {"text/plain | x", [](TsEmail& e) { Get(e, &TsEmail::GetAttachmentFilename, 7); },
       "    Index out of range: no attachment at index = 7.\n"},
      {"text/plain | x", [](TsEmail& e) { delete e.GetAttachedMessage(-2); },
       "    Index out of range: no attached message at index = -2.\n"},
  };
  for (const Case& row : cases) {
    TsEmail email;
    if (*row.message != '\0') Parse(email, Message(row.message));
    row.act(email);
    EXPECT_NE(LogOf(email).find(row.says), std::string::npos) << LogOf(email) << row.says;
  }
}

TEST(Log, NotesWhatParsingTolerated) {
  const std::string mixed = "Content-Type: multipart/mixed; boundary=\"";
  const std::pair<std::string, std::vector<const char*>> cases[] = {
      {"\r\nx",
       {"LoadMimeComplete2:", "MIME is missing initial header because it begins with CRLF"}},
      {"A: b\n\nx",
       {"Double CRLF not found, but found double-LF", "Converting all line endings to CRLF."}},
      {"A: b\r\nC: d\n\nx",
       {"Double CRLF not found, but found double-LF",
        "Also found CRLF.  The MIME contains a mixture of bare-LF's and CRLF's",
        "Converting all line endings to CRLF."}},
      {mixed + "b\"\r\n\r\n--b\r\nA: b\r\n\r\nx",
       {"findBoundary: --b", "The boundary string was found, continuing to parse MIME..."}},
      {mixed + "\xFC=_alternative\"\r\n\r\nx",
       {"Did not find boundary ending in CRLF, re-checking for bare-LF...",
        "Still did not find boundary...",
        "Still looking for the boundary: Searching using ANSI instead...",
        "No boundary found -- loading the body with all that follows."}},
      {"Content-Type: image/gif\r\n\r\nx",
       {"clearing charset based on content-type.",
        "treating body as binary (non-character) data."}},
      {"Content-Disposition: attachment\r\n\r\nx",
       {"treating body as binary data because of attachment status."}},
  };
  for (const auto& [text, expected] : cases) {
    TsEmail email;
    Parse(email, text);
    const std::string log = LogOf(email);
    std::size_t at = 0;
    for (const char* line : expected) {
      at = log.find(line, at);
      ASSERT_NE(at, std::string::npos) << line << "\n" << log;
    }
    EXPECT_NE(log.find("Success\n"), std::string::npos);
  }
}

TEST(Facade, RefusesEmptyText) {
  TsEmail email;
  Parse(email, "Subject: x\r\n\r\ny");
  EXPECT_FALSE(email.SetFromMimeText(""));
  EXPECT_EQ(Get(email, &TsEmail::get_Subject), "(fails)");
  EXPECT_EQ(email.get_NumTo(), 0);
  EXPECT_FALSE(email.SetFromMimeText(static_cast<const char*>(nullptr)));
  EXPECT_FALSE(email.SetFromMimeText(TsString()));
}

// Lists of every kind are read by index in time that does not grow with the index.
TEST(Facade, LongListsTakeLinearTime) {
  constexpr int kCount = 50'000;
  std::string text = "To: ";
  for (int i = 0; i < kCount; ++i) text += "a" + std::to_string(i) + "@b,\r\n ";
  text += "x@y\r\nContent-Type: multipart/related; boundary=b\r\n\r\n";
  for (int i = 0; i < kCount; ++i) text += "--b\r\nContent-Type: application/x\r\n\r\ny\r\n";
  TsEmail email;
  Parse(email, text);
  ASSERT_EQ(email.get_NumTo(), kCount + 1);
  ASSERT_EQ(email.get_NumAttachments(), kCount);
  ASSERT_EQ(email.get_NumRelatedItems(), kCount - 1);
  TsByteData data;
  for (int i = 0; i + 1 < kCount; ++i) {
    ASSERT_EQ(Get(email, &TsEmail::GetToAddr, i), "a" + std::to_string(i) + "@b");
    ASSERT_TRUE(email.GetAttachmentData(i, data));
    ASSERT_TRUE(email.GetRelatedData(i, data));
  }
}

// Different objects share nothing mutable; run under a thread sanitizer this proves it.
TEST(Facade, ObjectsOnDifferentThreadsAreIndependent) {
  const std::string message = Message(
      "multipart/mixed / Subject: =?utf-8?B?R3LDtsOfZQ==?= / From: A <a@b>\n"
      "  text/plain; charset=iso-8859-2 | \xB1\n  application/pdf; name=a.pdf | %PDF1\n"
      "  message/rfc822 | Subject: inner");
  TsByteData shared;
  shared.append2(message.data(), message.size());
  const std::string expected = "plain=\xC4\x85 file=a.pdf:%PDF1 message=inner";
  std::vector<std::string> shown(8);
  std::vector<std::thread> threads;
  for (std::string& result : shown) {
    threads.emplace_back([copy = TsByteData(shared), &result]() mutable {
      for (int i = 0; i < 50; ++i) {
        TsMime mime;
        TsString text;
        TsEmail email;
        mime.LoadMimeBytes(copy);
        mime.SetHeaderField("X", "y");
        mime.getMime(text);
        email.SetFromMimeText(text);
        result = Show(email);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& result : shown) EXPECT_EQ(result, expected);
}

TEST(Values, StringsConvertAndEdit) {
  TsString text = AsString(" \t a-b-c\xC3\xA9\n");
  EXPECT_EQ(text.getSizeUtf8(), 11U);
  EXPECT_EQ(text.getSizeUnicode(), 10U);
  text.trim2();
  EXPECT_EQ(text.viewUtf8(), "a-b-c\xC3\xA9\n");
  text.trim();
  EXPECT_EQ(text.replaceAllOccurances("-", "::"), 2);
  EXPECT_STREQ(text.getUtf8(), "a::b::c\xC3\xA9");
  EXPECT_EQ(text.replaceAllOccurances("", "x"), 0);
  text.replaceChar(':', ' ');
  text.replaceChar('\0', 'x');
  EXPECT_EQ(text.viewUnicode(), u"a  b  c\u00E9");
  EXPECT_TRUE(text.equalsIgnoreCase("A  B  C\xC3\x89"));
  EXPECT_EQ(text.charAt(6), u'c');
  EXPECT_EQ(text.charAt(99), u'\0');
  EXPECT_EQ(text.substring(3, 100).viewUtf8(), "b  c\xC3\xA9");
  EXPECT_EQ(text.substring(99, 1).viewUtf8(), "");
  TsStringArray tokens = AsString(", Tue, 5 Mar,,").tokenize(" ,");
  ASSERT_EQ(tokens.get_Count(), 3);
  EXPECT_STREQ(tokens.strAt(2), "Mar");
  EXPECT_EQ(tokens.strAt(3), nullptr);

  // Narrow text follows the Utf8 flag, else the ANSI code page.
  parvane::platform::SetAnsiCodePage(1252);
  TsString ansi;
  ansi.append("caf\xE9");
  EXPECT_EQ(ansi.viewUtf8(), "caf\xC3\xA9");
  ansi.put_Utf8(true);
  ansi.append("\xC3\xA9");
  EXPECT_STREQ(ansi.getAnsi(), "caf\xE9\xE9");
  EXPECT_EQ(ansi.getSizeAnsi(), 5U);
  parvane::platform::SetAnsiCodePage(65001);
  EXPECT_EQ(ansi.getSizeAnsi(), 7U);
}

TEST(Values, BytesAreSharedUntilChanged) {
  TsByteData a;
  a.append2("ab", 2);
  TsByteData b(a);
  EXPECT_EQ(a.getBytes(), b.getBytes());
  b.appendStr("c");
  EXPECT_EQ(a.view(), "ab");
  EXPECT_EQ(b.view(), "abc");
  EXPECT_FALSE(b.loadFile("/no/such/file"));
  EXPECT_EQ(b.getSize(), 0U);
  EXPECT_EQ(b.getBytes(), nullptr);
  std::string file;
  b.adopt(std::string("xyz"));
  a = b;
  EXPECT_EQ(a.view(), "xyz");
}

}  // namespace
