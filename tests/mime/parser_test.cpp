// How message text becomes a tree of entities, and the tree text again.
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "tests/mime/message_builder.h"

namespace {

using namespace Tessary;
using namespace parvane::mime_test;

// The tree as "type{children}" or "type[body]", line ends shown as "/".
std::string Tree(TsMime& mime) {
  std::string text = Get(mime, &TsMime::get_ContentType);
  if (mime.get_NumParts() > 0) {
    text += "{";
    for (int i = 0; i < mime.get_NumParts(); ++i) {
      const std::unique_ptr<TsMime> part(mime.GetPart(i));
      text += (i > 0 ? " " : "") + Tree(*part);
    }
    return text + "}";
  }
  TsString body;
  mime.getEntireBody(body);
  text += "[";
  for (const char c : body.viewRaw()) {
    if (c != '\r') text += c == '\n' ? '/' : c;
  }
  return text + "]";
}

std::string TreeOf(std::string_view text) {
  TsMime mime;
  Load(mime, text);
  EXPECT_EQ(Serialised(mime), text) << "an untouched message must come back as it was";
  return Tree(mime);
}

constexpr std::string_view kMixed = "Content-Type: multipart/mixed; boundary=\"b\"\n\n";

TEST(Framing, SplitsHeaderAndBody) {
  const struct {
    const char* what;
    std::string text;
    const char* expected;
  } cases[] = {
      {"CR LF", "A: b\r\n\r\nbody\r\n", "[body/]"},
      {"LF", "A: b\n\nbody\n", "[body/]"},
      {"CR LF header, LF LF further down", "A: b\r\n\r\none\n\ntwo", "[one//two]"},
      {"LF header, CR LF blank line", "A: b\nC: d\n\r\nbody\r\n", "[body/]"},
      {"LF LF before CR LF CR LF", "A: b\n\none\r\n\r\ntwo", "[one//two]"},
      {"no header: the text is the body", "\r\nbody\r\n", "[/body/]"},
      {"no header, LF", "\nbody\n\nmore\n", "[/body//more/]"},
      {"no empty line: all is header", "A: b\r\nC: d\r\n", "[]"},
      {"an mbox line at the top is no field", "From x@y Mon 10:00:00\r\nA: b\r\n\r\nc", "[c]"},
      {"a line with a space only goes on the field", "A: b\r\n \r\nC: d\r\n\r\ne", "[e]"},
      {"empty", "", "[]"},
  };
  for (const auto& row : cases) EXPECT_EQ(TreeOf(row.text), row.expected) << row.what;
}

TEST(Framing, ReadsFields) {
  const std::string text = CrLf(
      "Subject:one\nX-Folded: a\n b\n\t c\nnot a field\n goes on\nSpaced : v\nSUBJECT:  two\n"
      "Empty:\nOnly-Fold:\n x\n\n");
  TsMime mime;
  Load(mime, text);
  const std::pair<const char*, const char*> expected[] = {
      {"Subject", "one"},  {"X-Folded", "a b\t c"}, {"Spaced", "v"},
      {"SUBJECT", " two"}, {"Empty", ""},           {"Only-Fold", " x"},
  };
  ASSERT_EQ(mime.get_NumHeaderFields(), static_cast<int>(std::size(expected)));
  for (int i = 0; i < mime.get_NumHeaderFields(); ++i) {
    EXPECT_EQ(Get(mime, &TsMime::GetHeaderFieldName, i), expected[i].first);
    EXPECT_EQ(Get(mime, &TsMime::GetHeaderFieldValue, i), expected[i].second);
  }
  EXPECT_EQ(Get(mime, &TsMime::GetHeaderField, " sUBJECT "), "one");
  EXPECT_EQ(Get(mime, &TsMime::GetHeaderField, "Missing"), "(fails)");
  EXPECT_EQ(Get(mime, &TsMime::GetHeaderFieldValue, 6), "(fails)");
  EXPECT_EQ(Get(mime, &TsMime::GetHeaderFieldName, -1), "(fails)");
}

TEST(Multipart, SplitsAtItsBoundary) {
  const struct {
    const char* what;
    std::string body;
    const char* expected;
  } cases[] = {
      {"two parts", "pre\n--b\n\none11\n--b\nA: b\n\ntwo\n--b--\nepilogue\n",
       "multipart/mixed{[/one11] [two]}"},
      {"closing delimiter missing", "--b\nA: b\n\none\n--b\nA: b\n\ntwo\n",
       "multipart/mixed{[one] [two/]}"},
      {"a part of 3 bytes disappears", "--b\nabc\n--b\nA: b\n\ntwo\n--b--\n",
       "multipart/mixed{[two]}"},
      {"a part of 5 bytes stays", "--b\nA:bcd\n--b\nA: b\n\ntwo\n--b--\n",
       "multipart/mixed{[] [two]}"},
      {"no delimiter", "nothing here\n--b--\n", "multipart/mixed[nothing here/--b--/]"},
      {"white space behind delimiters", "--b \nA: b\n\none\n--b\nA: b\n\ntwo\n--b-- \n",
       "multipart/mixed{[one] [two]}"},
      {"white space behind all delimiters", "--b \nA: b\n\none\n--b\t\nA: b\n\ntwo\n--b--\n",
       "multipart/mixed{[one] [two]}"},
      {"a longer boundary is another one", "--b\nA: b\n\none\n--bc\nx\n--b--c\ny\n--b--\n",
       "multipart/mixed{[one/--bc/x/--b--c/y]}"},
      {"an inner delimiter that ends in ours", "--b\nA: b\n\none\n----b\nx\n--b--\n",
       "multipart/mixed{[one/----b/x]}"},
      {"the line end before a delimiter was lost", "--b\nA: b\n\none--b\nA: b\n\ntwo\n--b--\n",
       "multipart/mixed{[one] [two]}"},
      {"one boundary for two levels", "--b\nA: b\n\none\n--b--\n\n--b\nA: b\n\ntwo\n--b--\n",
       "multipart/mixed{[one] [two]}"},
      {"text behind a closing delimiter that is none",
       "--b\nA: b\n\none\n--b--\ntext\n--b\nA: b\n\ntwo\n--b--\n",
       "multipart/mixed{[one/--b--/text] [two]}"},
      {"cut off inside a delimiter", "--b\nA: b\n\none\n--b", "multipart/mixed{[one]}"},
  };
  for (const auto& row : cases) {
    const std::string text = std::string(kMixed) + row.body;
    EXPECT_EQ(TreeOf(CrLf(text)), row.expected) << row.what;
    EXPECT_EQ(TreeOf(text), row.expected) << row.what << ", LF";
  }
}

TEST(Multipart, FindsDamagedBoundaries) {
  // The space that "=_alternative" boundaries lose.
  TsEmail email;
  const std::string alternative = CrLf(
      "Content-Type: multipart/alternative; boundary=\"=_alternative\"\n\n"
      "--=_alternative \nContent-Type: text/plain\n\nplain\n"
      "--=_alternative \nContent-Type: text/html\n\nhtml\n--=_alternative --\n");
  Parse(email, alternative);
  EXPECT_EQ(Get(email, &TsEmail::GetPlainTextBody), "plain");
  EXPECT_EQ(Get(email, &TsEmail::GetHtmlBody), "html");

  // A CR LF header over a body with line feeds, none of them doubled.
  EXPECT_EQ(TreeOf(CrLf(kMixed) + "--b\nA: b\r\n\r\none\n--b\nC: d\r\n\r\ntwo\n--b--\n"),
            "multipart/mixed{[one] [two]}");
  // A boundary of 8-bit bytes, and one padded with white space.
  EXPECT_EQ(TreeOf("Content-Type: multipart/mixed; boundary=\"\xFC\xFD\"\r\n\r\n"
                   "--\xFC\xFD\r\nA: b\r\n\r\none\r\n--\xFC\xFD--\r\n"),
            "multipart/mixed{[one]}");
  EXPECT_EQ(TreeOf("Content-Type: multipart/mixed; boundary=\"b \"\r\n\r\n"
                   "--b\r\nA: b\r\n\r\none\r\n--b--\r\n"),
            "multipart/mixed{[one]}");
}

TEST(Multipart, NestsAndKeepsMessagesWhole) {
  const std::string text = CrLf(
      "Content-Type: MULTIPART/Mixed;\n boundary=out\n\n--out\n"
      "Content-Type: multipart/alternative; boundary=\"in\"\n\n--in\nContent-Type: text/plain\n\n"
      "p\n--in\nContent-Type: text/html\n\nh\n--in--\n\n--out\nContent-Type: message/rfc822\n\n"
      "Subject: x\n\ny\n--out--\n");
  EXPECT_EQ(TreeOf(text),
            "MULTIPART/Mixed{multipart/alternative{text/plain[p] text/html[h]} "
            "message/rfc822[Subject: x//y]}");
}

std::string NestedMixed(int levels) {
  std::string text;
  for (int i = 0; i < levels; ++i) {
    const std::string b = "level" + std::to_string(i);
    text += "Content-Type: multipart/mixed; boundary=" + b + "\r\n\r\n--" + b + "\r\n";
  }
  return text + "Content-Type: text/plain\r\n\r\ndeep";
}

TEST(Limits, NestingStopsAndKeepsTheRestAsOnePart) {
  const auto depthOf = [](const std::string& text) {
    int depth = 0;
    auto mime = std::make_unique<TsMime>();
    Load(*mime, text);
    EXPECT_EQ(Serialised(*mime), text);
    while (mime->get_NumParts() > 0) {
      mime.reset(mime->GetPart(0));
      ++depth;
    }
    TsString body;
    mime->getEntireBody(body);
    EXPECT_TRUE(body.viewRaw().ends_with("deep"));
    return depth;
  };
  EXPECT_EQ(depthOf(NestedMixed(99)), 99);
  EXPECT_EQ(depthOf(NestedMixed(5000)), 100);
  TsEmail email;
  Parse(email, NestedMixed(99));
  EXPECT_EQ(Get(email, &TsEmail::GetPlainTextBody), "deep");
  // What the limit leaves whole is handed out as a file.
  Parse(email, NestedMixed(150));
  ASSERT_EQ(email.get_NumAttachments(), 1);
  TsByteData data;
  EXPECT_TRUE(email.GetAttachmentData(0, data));
  EXPECT_TRUE(data.view().ends_with("deep"));
}

TEST(Limits, NestedMessagesStopToo) {
  std::string text = "Subject: innermost\r\n\r\ndeep";
  for (int i = 0; i < 300; ++i) text = "Content-Type: message/rfc822\r\n\r\n" + text;
  auto email = std::make_unique<TsEmail>();
  Parse(*email, text);
  int depth = 0;
  while (email->get_NumAttachedMessages() > 0) {
    email.reset(email->GetAttachedMessage(0));
    ++depth;
  }
  EXPECT_EQ(depth, 99);
  ASSERT_EQ(email->get_NumAttachments(), 1);
  TsByteData data;
  EXPECT_TRUE(email->GetAttachmentData(0, data));
  EXPECT_TRUE(data.view().ends_with("deep"));
}

TEST(Limits, ManyPartsAndManyFieldsTakeLinearTime) {
  std::string text = CrLf(kMixed);
  for (int i = 0; i < 100'000; ++i) text += "--b\r\nA: b\r\n\r\nx\r\n";
  TsMime mime;
  Load(mime, text);
  EXPECT_EQ(mime.get_NumParts(), 100'000);
  std::string header;
  for (int i = 0; i < 50'000; ++i) header += "X" + std::to_string(i) + ": y\r\njunk line\r\n";
  Load(mime, header + "\r\n");
  for (int i = 0; i < mime.get_NumHeaderFields(); ++i) {
    ASSERT_EQ(Get(mime, &TsMime::GetHeaderFieldValue, i), "y");
  }
  // Boundaries and lines built to be compared again and again.
  const std::string dashes(200'000, '-');
  Load(mime, "Content-Type: multipart/mixed; boundary=\"" + dashes + "\"\r\n\r\n" + dashes +
                 dashes + dashes);
  Load(mime, "Content-Type: multipart/mixed; boundary=\"-\"\r\n\r\n" + dashes + "\r\n" + dashes);
  Load(mime, "Content-Type: multipart/mixed" + std::string(100'000, ';') + " a=b" +
                 std::string(100'000, '"') + "\r\n\r\n");
}

TEST(Limits, PartsBeyondTheLastStayTogether) {
  std::string text = CrLf(kMixed);
  for (int i = 0; i < 250'000; ++i) text += "--b\r\nA:bcd\r\n";
  TsMime mime;
  Load(mime, text);
  EXPECT_EQ(mime.get_NumParts(), 200'000);
  EXPECT_EQ(Serialised(mime), text);
  const std::unique_ptr<TsMime> last(mime.GetPart(199'999));
  EXPECT_GT(Serialised(*last).size(), 50'000U * 9);
  // The limit is one for all of a message's multiparts together.
  std::string nested = CrLf(kMixed);
  for (int i = 0; i < 3; ++i) {
    nested += "--b\r\nContent-Type: multipart/mixed; boundary=c\r\n\r\n";
    for (int part = 0; part < 90'000; ++part) nested += "--c\r\nA:bcd\r\n";
  }
  Load(mime, nested);
  int parts = 0;
  for (int i = 0; i < 3; ++i) {
    const std::unique_ptr<TsMime> part(mime.GetPart(i));
    parts += part->get_NumParts();
  }
  EXPECT_EQ(mime.get_NumParts() + parts, 200'000);
}

std::string Sample() {
  return CrLf(
      "From: \"A, B\" <a@b>\nSubject: =?utf-8?Q?x?=\nContent-Type: multipart/mixed; boundary=b\n\n"
      "preamble\n--b\nContent-Type: multipart/related; boundary=\"c d\"\n\n--c d\n"
      "Content-Type: text/html; charset=utf-8\nContent-Transfer-Encoding: quoted-printable\n\n"
      "<p>=C3=A9</p>=\n--c d\nContent-Type: image/png; name*0=\"a\"; name*1*=%20b\n"
      "Content-ID: <i>\nContent-Transfer-Encoding: base64\n\nAAEC\n--c d--\n--b\n"
      "Content-Type: message/rfc822\n\nSubject: inner\n\ntext\n--b--\nepilogue\n");
}

// Reads everything, so that a sanitizer sees every access.
void TouchEverything(std::string_view text) {
  // A buffer of its own, without anything behind it.
  const std::vector<char> exact(text.begin(), text.end());
  TsMime mime;
  Load(mime, std::string_view(exact.data(), exact.size()));
  EXPECT_EQ(Serialised(mime), text);
  Tree(mime);
  TsEmail email;
  Parse(email, std::string_view(exact.data(), exact.size()));
  Get(email, &TsEmail::GetPlainTextBody);
  Get(email, &TsEmail::GetHtmlBody);
  Get(email, &TsEmail::get_From);
  TsByteData data;
  for (int i = 0; i < email.get_NumRelatedItems(); ++i) {
    email.GetRelatedData(i, data);
    Get(email, &TsEmail::GetRelatedFilename, i);
  }
  for (int i = 0; i < email.get_NumAttachedMessages(); ++i) {
    delete email.GetAttachedMessage(i);
  }
}

// Damage to one byte: nothing may crash, and untouched text still comes back byte for byte.
TEST(Recovery, EveryDamagedByteIsRead) {
  std::string text = Sample();
  for (std::size_t at = 0; at < text.size(); ++at) {
    for (const char damage : {'\0', '\n', '\r', '"', ';', '\xFF', '-'}) {
      const char was = text[at];
      text[at] = damage;
      TouchEverything(text);
      text[at] = was;
    }
  }
}

TEST(Serialise, KeepsWhatWasNotChanged) {
  const std::string text = Sample();
  TsMime mime;
  Load(mime, text);
  const std::unique_ptr<TsMime> related(mime.GetPart(0));
  const std::unique_ptr<TsMime> image(related->GetPart(1));
  mime.put_Utf8(true);
  EXPECT_TRUE(mime.SetHeaderField("subject", "n\xC3\xA9w"));
  EXPECT_TRUE(image->RemoveHeaderField("content-id"));
  EXPECT_FALSE(image->RemoveHeaderField("content-id"));
  std::string expected = text;
  expected.replace(expected.find("Subject: =?utf-8?Q?x?="), 22, "subject: n\xC3\xA9w");
  const std::string id = "Content-ID: <i>\r\n";
  expected.erase(expected.find(id), id.size());
  EXPECT_EQ(Serialised(mime), expected);
  // The parent may go first; the view keeps what it shows.
  mime = TsMime();
  EXPECT_EQ(Get(*image, &TsMime::get_ContentType), "image/png");
}

TEST(Serialise, SetsFieldsAndBodies) {
  const auto edited = [](std::string_view text, auto edit) {
    TsMime mime;
    mime.put_Utf8(true);
    Load(mime, text);
    edit(mime);
    return Serialised(mime);
  };
  EXPECT_EQ(
      edited("To: a\r\nX: y\r\nTO: b\r\n\r\nbody", [](TsMime& m) { m.SetHeaderField("To", "c"); }),
      "To: c\r\nX: y\r\n\r\nbody");
  EXPECT_EQ(edited("\r\nbody", [](TsMime& m) { m.SetHeaderField("A", "b"); }),
            "A: b\r\n\r\n\r\nbody");
  EXPECT_EQ(edited("A: b", [](TsMime& m) { m.SetHeaderField("C", "d"); }), "A: b\r\nC: d\r\n");
  EXPECT_EQ(edited("A: b\n\nx\ny", [](TsMime& m) { m.SetHeaderField("A", "two\r\nlines"); }),
            "A: two lines\r\n\r\nx\r\ny");
  EXPECT_EQ(edited("A: b\r\n\r\nx", [](TsMime& m) { m.SetBody("new"); }), "A: b\r\n\r\nnew");
  EXPECT_EQ(edited("A: b\r\n\r\nx", [](TsMime& m) { m.SetBodyFromEncoded("base64", "AAEC"); }),
            "A: b\r\nContent-Transfer-Encoding: base64\r\n\r\nAAEC");
  EXPECT_EQ(edited("A: b\r\n", [](TsMime& m) { m.SetBody("new"); }), "A: b\r\n\r\nnew");

  // A long value is folded at white space and reads back the same.
  std::string value;
  for (int i = 0; i < 40; ++i) value += "\"Name " + std::to_string(i) + "\" < a@example.org >,";
  const std::string text =
      edited("A: b\r\n\r\n", [&](TsMime& m) { m.SetHeaderField("To", value.c_str()); });
  std::size_t start = 0;
  for (std::size_t end = text.find("\r\n"); end != std::string::npos;
       end = text.find("\r\n", start)) {
    EXPECT_LE(end - start, 78U);
    start = end + 2;
  }
  TsMime again;
  Load(again, text);
  EXPECT_EQ(Get(again, &TsMime::GetHeaderField, "To"), value);
}

TEST(HandOver, BytesOfNoCharsetArriveUntouched) {
  const std::string text =
      "Subject: \xFF\xFE raw\r\nContent-Type: application/octet-stream\r\n\r\n\x80\x81\0\xFF"
      "end";
  const std::string bytes(text.data(), text.size());
  TsMime mime;
  Load(mime, bytes);
  TsString handed;
  EXPECT_TRUE(mime.getMime(handed));
  TsEmail email;
  EXPECT_TRUE(email.SetFromMimeText(handed));
  TsByteData data;
  ASSERT_TRUE(email.GetAttachmentData(0, data));
  EXPECT_EQ(data.view(), bytes.substr(bytes.find("\r\n\r\n") + 4));
}

}  // namespace
