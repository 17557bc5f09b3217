#include "sources/emlx.h"

#include <memory>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "mime/ts_mime.h"
#include "mime/ts_string.h"
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

}  // namespace
}  // namespace QuelmarMIMEEngineCommon
