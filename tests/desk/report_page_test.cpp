// The report as a page: the JSON inside of it, and what a browser is told to let through.
#include "desk/report_page.h"

#include <gtest/gtest.h>

#include "desk/page_files.h"
#include "desk/report_file.h"
#include "platform/file.h"
#include "tests/support/temporary_folder.h"

namespace parvane::desk {
namespace {

std::string Between(const std::string& text, const std::string& from, const std::string& to) {
  const std::size_t begin = text.find(from) + from.size();
  return text.substr(begin, text.find(to, begin) - begin);
}

TEST(ReportPage, HoldsTheWholeReportAndNothingEndsIt) {
  ConversionRecord record;
  record.sources = {u"</script><!--<script>.mbox"};
  record.folders.push_back({{u"In<b>ox"}, u"Inbox"});
  std::string page, json;
  ReportPage(record, [&](std::string_view text) { page += text; });
  Report(record, [&](std::string_view text) { json += text; });
  std::string inside = Between(page, "id=\"record\">", "</script>");
  for (std::size_t at; (at = inside.find("\\u003c")) != inside.npos;) inside.replace(at, 6, "<");
  EXPECT_EQ(inside, json);
  EXPECT_TRUE(BeginsLikeReport(page.substr(0, 100)));
  EXPECT_EQ(page.find("{{"), page.npos);

  const std::string script = Between(page, "<script type=\"module\">", "</script>");
  EXPECT_NE(script.find("function doneView"), script.npos);
  for (const char* text : {"import ", "export "}) {
    EXPECT_FALSE(script.starts_with(text));
    EXPECT_EQ(script.find("\n" + std::string(text)), script.npos);
  }
  // Every module is in it: none is forgotten in the order.
  for (const auto& file : PageFiles()) {
    if (!file.name.ends_with(".js")) continue;
    const std::string first(file.bytes.substr(0, file.bytes.find('\n')));
    EXPECT_NE(script.find(first + "\n"), script.npos) << file.name;
  }
  EXPECT_EQ(Between(page, "script-src 'sha256-", "'").size(), 44u);
}

TEST(ReportPage, IsWrittenWhereTheNameSaysSoAndReplacesItself) {
  const ::TemporaryFolder scratch;
  const ConversionRecord record;
  constexpr std::pair<const char16_t*, bool> kCases[] = {
      {u"run.html", true}, {u"RUN.HTM", true}, {u"run.json", false}, {u"html", false}};
  for (const auto& [name, page] : kCases) {
    const std::u16string path = scratch / name;
    for (int run = 0; run < 2; ++run) {
      const auto file = ReportFile::Begin(path);
      ASSERT_TRUE(file.ok());
      EXPECT_FALSE(platform::FileSystem::Default().FileExists(path)) << "of the run before";
      ASSERT_TRUE(file->Write(record).ok());
      const auto text = platform::ReadWholeFile(platform::FileSystem::Default(), path);
      EXPECT_EQ(text.ok() && text->starts_with("<!doctype html>"), page);
    }
  }
}

}  // namespace
}  // namespace parvane::desk
