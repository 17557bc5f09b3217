#include "sources/emlx.h"

#include <memory>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_mime.h"
#include "mime/facade/ts_string.h"
#include "platform/path.h"
#include "platform/text.h"
#include "sources/emlx_file.h"
#include "tests/support/temporary_folder.h"

namespace QuelmarMIMEEngineCommon {
namespace {

using Tessary::TsMime;
using Tessary::TsString;

TsMime Load(const std::string& text) {
  TsMime mime;
  mime.put_Utf8(true);
  mime.LoadMime(text.c_str());
  return mime;
}

std::string Body(TsMime& mime) {
  TsString body;
  mime.getEntireBody(body);
  return std::string(body.viewRaw());
}

class EmlxParts : public testing::Test {
 protected:
  const TemporaryFolder disk;
  std::string directory = parvane::platform::PathToNative(disk.Path());
};

TEST_F(EmlxParts, OfASinglePartAreNamedByTheMessageAlone) {
  disk.Write("1234.emlxpart", "aGVsbG8=");
  TsMime mime = Load("X-Apple-Content-Length: 8\r\nContent-Transfer-Encoding: base64\r\n\r\n");
  LoadEMLXParts(&mime, {}, "1234", directory);
  EXPECT_EQ(Body(mime), "aGVsbG8=") << "not encoded a second time";
  const std::string withNul("a\0b", 3);
  disk.Write("5.emlxpart", withNul);
  TsMime binary = Load("X-Apple-Content-Length: 3\r\nContent-Transfer-Encoding: binary\r\n\r\n");
  LoadEMLXParts(&binary, {}, "5", directory);
  EXPECT_EQ(Body(binary), withNul);
}

TEST_F(EmlxParts, ComeBackWhereTheyAreMarked) {
  disk.Write("1234.2.1.emlxpart", "deep");
  disk.Write("1234.1.emlxpart", "never read");
  TsMime mime = Load(
      "Content-Type: multipart/mixed; boundary=o\r\n\r\n--o\r\nX: y\r\n\r\nfirst\r\n"
      "--o\r\nContent-Type: multipart/mixed; boundary=i\r\n\r\n"
      "--i\r\nX-Apple-Content-Length: 4\r\n\r\n\r\n"
      "--i\r\nX-Apple-Content-Length: 4\r\n\r\n\r\n--i--\r\n--o--\r\n");
  testing::internal::CaptureStdout();
  LoadEMLXParts(&mime, {}, "1234", directory);
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_TRUE(printed.starts_with("File not found: " + directory)) << printed;
  EXPECT_TRUE(printed.ends_with("1234.2.2.emlxpart")) << printed;

  std::unique_ptr<TsMime> first(mime.GetPart(0));
  std::unique_ptr<TsMime> second(mime.GetPart(1));
  std::unique_ptr<TsMime> deep(second->GetPart(0));
  std::unique_ptr<TsMime> missing(second->GetPart(1));
  EXPECT_EQ(Body(*first), "first");
  EXPECT_EQ(Body(*deep), "deep");
  EXPECT_EQ(Body(*missing), "");
  LoadEMLXParts(nullptr, {}, "", "");
}

TEST(Plists, YieldTheirKeys) {
  const std::pair<const char*, std::map<std::string, std::string>> cases[] = {
      {"<plist><dict><key>a</key><integer>1</integer><key>b</key><string>x &amp; y</string>"
       "<key>a</key><string>last</string><string>stray</string></dict></plist>",
       {{"a", "last"}, {"b", "x & y"}, {"old", "kept"}}},
      {"<plist><dict><key>a</key><!-- c --><string>v</string><key>end</key></dict></plist>",
       {{"a", "v"}, {"end", ""}, {"old", "kept"}}},
      {"<plist><array/></plist>", {{"old", "kept"}}},
      {"<other/>", {{"old", "kept"}}},
  };
  for (const auto& [xml, expected] : cases) {
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(xml));
    std::map<std::string, std::string> properties = {{"old", "kept"}};
    ReadPlist(document, properties);
    EXPECT_EQ(properties, expected) << xml;
  }
}

constexpr std::string_view kList =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://localhost/x.dtd\">\n"
    "<plist version=\"1.0\">\n<dict>\n\t<key>date-received</key>\n"
    "\t<integer>1556863965</integer>\n\t<key>flags</key>\n\t<integer>8623750145</integer>\n"
    "</dict>\n</plist>\n";
const std::map<std::string, std::string> kProperties = {{"date-received", "1556863965"},
                                                        {"flags", "8623750145"}};

TEST(EmlxFiles, HoldACountAMessageAndAList) {
  const TemporaryFolder disk;
  const std::string list(kList);
  struct Case {
    const char* name;
    std::string file;
    std::string message;
    std::uint64_t missing = 0;
    std::map<std::string, std::string> properties = {};
  };
  for (const Case& c : std::initializer_list<Case>{
           {"all three", "13        \nSubject: s\n\nb" + list, "Subject: s\n\nb", 0, kProperties},
           {"CR LF and padding in front", " 4\r\na\r\nb" + list, "a\r\nb", 0, kProperties},
           {"a byte 0 and a list's start in the message", std::string("9\n<plist>\0a", 11) + list,
            std::string("<plist>\0a", 9), 0, kProperties},
           {"no list", "1\nx", "x"},
           {"an empty message", "0\n" + list, "", 0, kProperties},
           {"a broken list", "1\nx<plist><dict><key>a</key>", "x"},
           {"a count one short", "3\nabc-" + list, "abc-", 0, kProperties},
           {"a count far too large", "900\nab" + list, "ab", 0, kProperties},
           {"a count that stops in a list that is mail", "2\n<?xml?><plist/>" + list,
            "<?xml?><plist/>", 0, kProperties},
           {"a list of 2 MB", "1\nx<?xml?>" + std::string(2 << 20, ' ') + "</plist>", "x"},
           {"no count", "Subject: s\n\nb" + list, "Subject: s\n\nb", 0, kProperties},
           {"neither count nor list", "Subject: s\n\nb", "Subject: s\n\nb"},
           {"a count beyond the end", "900\nSubject: s\n", "Subject: s\n", 889},
           {"the largest count", "18446744073709551615\nab", "ab", 18446744073709551613u},
       }) {
    const auto content = ParseEMLX(c.file);
    ASSERT_TRUE(content.ok()) << c.name << ": " << content.status().message();
    EXPECT_EQ(std::string(content->message.begin(), content->message.end()), c.message) << c.name;
    EXPECT_EQ(content->missing, c.missing) << c.name;
    EXPECT_EQ(content->properties, c.properties) << c.name;
  }

  for (std::string_view file : {"", "12", "\nx", "  \nx", "-1\nx", "0x10\nx", "1 2\nx",
                                "18446744073709551616\nx", "Sub ject: s\n", ":\n"}) {
    const auto content = ParseEMLX(file);
    EXPECT_EQ(content.status().code(), parvane::platform::StatusCode::kCorrupt) << file;
  }
  EXPECT_EQ(ReadEMLXFile(disk.Path("none.emlx")).status().code(),
            parvane::platform::StatusCode::kNotFound);
  const auto named = ReadEMLXFile(disk.Write("1.emlx", "x"));
  EXPECT_NE(named.status().message().find("1.emlx: does not begin"), std::string::npos);
}

// Every truncation of a good file gives what is there and says how much is not.
TEST(EmlxFiles, MayBeCutOffAnywhere) {
  const std::string message = "Subject: s\n\nbody";
  const std::string whole = "16\n" + message + std::string(kList);
  for (std::size_t size = 3; size < whole.size(); ++size) {
    const auto content = ParseEMLX(whole.substr(0, size));
    ASSERT_TRUE(content.ok()) << size;
    EXPECT_EQ(content->message.size() + content->missing, message.size()) << size;
    EXPECT_EQ(content->message.size(), std::min(size - 3, message.size())) << size;
  }
}

TEST_F(EmlxParts, JoinTheirMessage) {
  const std::string message =
      "Content-Type: multipart/mixed; boundary=o\n\n--o\nX: y\n\nfirst\n"
      "--o\nContent-Type: text/plain\nContent-Transfer-Encoding: quoted-printable\n"
      "X-Apple-Content-Length: 8\n\n\n--o--\n";
  const std::string file = std::to_string(message.size()) + "\n" + message + std::string(kList);
  for (const std::string name : {"box/77.partial.emlx", "box/78.emlx"}) {
    const std::u16string path = disk.Write(name, file);
    const std::string part = name.substr(0, 6) + ".2.emlxpart";
    disk.Write(part, "gr=C3=BC=C3=9Fe " + part);
    const auto content = ReadEMLXFile(path);
    ASSERT_TRUE(content.ok());
    TsMime mime;
    ASSERT_TRUE(LoadEMLXMessage(path, *content, mime).ok());
    std::unique_ptr<TsMime> first(mime.GetPart(0));
    std::unique_ptr<TsMime> second(mime.GetPart(1));
    EXPECT_EQ(Body(*first), "first");
    Tessary::TsByteData decoded;
    second->GetDecodedBody(decoded);
    EXPECT_EQ(decoded.view(), "grüße " + part) << name;
  }
}

}  // namespace
}  // namespace QuelmarMIMEEngineCommon
