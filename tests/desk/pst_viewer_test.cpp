// A PST that a conversion has written, as people look into it; whole, and damaged.
#include "desk/pst_viewer.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "desk/conversion.h"
#include "mapi/builtin_entry_points.h"
#include "mapi/diagnostics.h"
#include "mapi/options.h"
#include "platform/text.h"
#include "tests/support/temporary_folder.h"

namespace parvane::desk {
namespace {

constexpr std::string_view kMail =
    "From a@x Thu Jan  2 03:04:05 2020\n"
    "From: =?utf-8?q?Ann_=C3=84?= <a@x>\nTo: Bob <b@x>, c@x\nCc: d@x\nSubject: Hello\n"
    "Date: Thu, 2 Jan 2020 03:04:05 +0000\nStatus: RO\nX-Status: AF\nMIME-Version: 1.0\n"
    "Content-Type: multipart/mixed; boundary=b\n\n"
    "--b\nContent-Type: multipart/related; boundary=r\n\n"
    "--r\nContent-Type: text/html; charset=iso-8859-1\nContent-Transfer-Encoding: 8bit\n\n"
    "<p onclick=x()>caf\xE9 <img src=\"cid:p1@x\"><img src=http://out/side><script>x</script>\n"
    "--r\nContent-Type: image/png; name=p.png\nContent-ID: <p1@x>\nContent-Disposition: inline\n"
    "Content-Transfer-Encoding: base64\n\niVBORw0KGgo=\n--r--\n"
    "--b\nContent-Type: application/octet-stream; name=data.bin\n"
    "Content-Disposition: attachment; filename=data.bin\nContent-Transfer-Encoding: base64\n\n"
    "QUJD\n"
    "--b\nContent-Type: message/rfc822\n\n"
    "From: e@x\nSubject: Inner\nDate: Wed, 1 Jan 2020 00:00:00 +0000\n\nplain & <inner>\n\n--b--\n"
    "\n";

class PstViewing : public testing::Test {
 protected:
  static constexpr std::size_t kMessages = 300;

  void SetUp() override {
    mapi::SelectEntryPoints(mapi::BuiltinEntryPoints());
    std::string mail(kMail);
    for (std::size_t i = 1; i < kMessages; ++i) {
      mail += "From b@x Thu Jan  2 03:04:05 2020\nFrom: b@x\nSubject: no. " + std::to_string(i) +
              "\nDate: Thu, 2 Jan 2020 03:04:05 +0000\n\ntext " + std::to_string(i) + "\n\n";
    }
    Write(mail, kMessages);
  }

  void Write(const std::string& mail, std::size_t messages) {
    ConvertOptions options;
    options.sources = {_scratch.Write("Work.mbox", mail)};
    options.destination = _pst =
        _scratch / (platform::Utf8ToUtf16(std::to_string(messages)) + u".pst");
    options.sizeLimit = std::uint64_t{50} << 30;
    RunObserver nobody;
    const ConversionRecord record = Convert(options, nobody);
    ASSERT_EQ(record.error, "");
    ASSERT_EQ(record.Written(), messages);
  }

  // Everything of a viewer's, as far as there is any; what is damaged is an error here and there.
  static std::size_t LookAtAll(PstViewer& viewer) {
    std::size_t seen = 0;
    for (const ViewedFolder& folder : viewer.folders()) {
      const auto page = viewer.Messages(folder.id, 0, 20);
      if (!page.ok()) continue;
      for (const ViewedRow& row : page->rows) {
        const auto message = viewer.Message(row.id);
        seen += message.ok() + viewer.Document(row.id, [](std::uint32_t) { return ""; }).ok();
        if (!message.ok()) continue;
        for (const ViewedAttachment& attachment : message->attachments) {
          const std::string inner = row.id + "-" + std::to_string(attachment.number);
          seen += viewer.Message(inner).ok() + viewer
                                                   .ReadAttachment(
                                                       row.id, attachment.number,
                                                       [](const ViewedAttachment&) { return true; },
                                                       [](std::string_view) { return true; })
                                                   .ok();
        }
      }
    }
    return seen;
  }

  const ::TemporaryFolder _scratch;
  std::u16string _pst;
};

TEST_F(PstViewing, ShowsFoldersPagesAndMessages) {
  {
    auto opened = PstViewer::Open(_pst);
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    PstViewer& viewer = **opened;
    const auto folder =
        std::ranges::find(viewer.folders(), std::u16string(u"Work"), &ViewedFolder::name);
    ASSERT_NE(folder, viewer.folders().end());
    EXPECT_EQ(folder->messages, kMessages);
    EXPECT_EQ(folder->unread, kMessages - 1);
    EXPECT_GT(folder->bytes.value_or(0), 0u);

    const auto first = viewer.Messages(folder->id, 0, 2);
    ASSERT_TRUE(first.ok() && first->rows.size() == 2u);
    const ViewedRow& row = first->rows[0];
    EXPECT_EQ(row.from, u"Ann Ä");
    EXPECT_EQ(row.subject, u"Hello");
    EXPECT_FALSE(row.marks.unread);
    EXPECT_EQ(row.marks.flag, MessageMarks::Flag::kFlagged);
    EXPECT_TRUE(row.marks.replied && row.attachments);
    const auto last = viewer.Messages(folder->id, kMessages - 1, PstViewer::kMostRows);
    ASSERT_TRUE(last.ok() && last->rows.size() == 1u);
    EXPECT_EQ(last->rows[0].subject, u"no. 299");
    EXPECT_EQ(last->rows[0].row, 299u);
    EXPECT_EQ(viewer.Messages(folder->id, 0, 1'000)->rows.size(), PstViewer::kMostRows);
    EXPECT_TRUE(viewer.Messages(folder->id, std::uint64_t{1} << 60, 10)->rows.empty());

    const auto message = viewer.Message(row.id);
    ASSERT_TRUE(message.ok());
    EXPECT_EQ(message->from.address, u"a@x");
    ASSERT_EQ(message->to.size(), 2u);
    EXPECT_EQ(message->to[0].name, u"Bob");
    EXPECT_EQ(message->cc.size(), 1u);
    EXPECT_EQ(message->body, ViewedBody::kHtml);
    EXPECT_NE(message->headers.find("Subject: Hello"), std::string::npos);
    EXPECT_TRUE(message->unreadable.empty());
    const auto subject =
        std::ranges::find(message->properties, std::string("PR_SUBJECT"), &ViewedProperty::name);
    ASSERT_NE(subject, message->properties.end());
    EXPECT_EQ(subject->value, "Hello");
    EXPECT_EQ(subject->type, "text");

    ASSERT_EQ(message->attachments.size(), 3u);
    std::string bytes, inner;
    for (const ViewedAttachment& attachment : message->attachments) {
      if (attachment.isMessage) inner = row.id + "-" + std::to_string(attachment.number);
      if (attachment.name != u"data.bin") continue;
      EXPECT_TRUE(viewer
                      .ReadAttachment(
                          row.id, attachment.number, [](const ViewedAttachment&) { return true; },
                          [&](std::string_view piece) { return bytes += piece, true; })
                      .ok());
    }
    EXPECT_EQ(bytes, "ABC");
    const auto page = viewer.Document(
        row.id, [](std::uint32_t number) { return "picture" + std::to_string(number); });
    ASSERT_TRUE(page.ok());
    EXPECT_NE(page->find("<p>caf\xC3\xA9 <img src=\"picture"), std::string::npos) << *page;
    EXPECT_EQ(page->find("script"), std::string::npos);
    EXPECT_EQ(page->find("out/side"), std::string::npos);
    const auto attached = viewer.Message(inner);
    ASSERT_TRUE(attached.ok()) << inner;
    EXPECT_EQ(attached->subject, u"Inner");
    EXPECT_EQ(attached->body, ViewedBody::kText);
    EXPECT_NE(viewer.Document(inner, {})->find("plain &amp; &lt;inner&gt;"), std::string::npos);

    for (const std::string& id : {std::string(), std::string("-"), std::string("zz"), row.id + "-",
                                  row.id + "-9", row.id + "-1-1-1", folder->id, row.id + "0"}) {
      EXPECT_FALSE(viewer.Message(id).ok()) << id;
      EXPECT_FALSE(viewer.Messages(id, 0, 1).ok() && id != folder->id) << id;
    }
  }
  // What it has changed for itself is as it was.
  EXPECT_FALSE(mapi::CurrentBuiltinOptions().readOnly);
  EXPECT_EQ(mapi::LiveObjects(), 0u);
  EXPECT_FALSE(PstViewer::Open(_scratch / u"none.pst").ok());
  EXPECT_FALSE(PstViewer::Open(_scratch.Write("no.pst", "no PST")).ok());
}

TEST_F(PstViewing, DamageIsAnErrorAndNoMore) {
  auto whole = platform::ReadWholeFile(platform::FileSystem::Default(), _pst);
  ASSERT_TRUE(whole.ok());
  std::mt19937 random(17);
  std::size_t seen = 0, spoiled = 0;
  for (int round = 0; round < 60; ++round) {
    std::string bytes = *whole;
    for (int i = 0; i < 20; ++i)
      bytes[0x4400 + random() % (bytes.size() - 0x4400)] = static_cast<char>(random());
    auto viewer = PstViewer::Open(_scratch.Write("damaged.pst", bytes));
    const std::size_t now = viewer.ok() ? LookAtAll(**viewer) : 0;
    seen += now;
    spoiled += now == 0;
    EXPECT_TRUE(viewer.ok() || !viewer.status().message().empty());
  }
  EXPECT_GT(seen, 0u);
  EXPECT_LT(spoiled, 60u);
}

TEST_F(PstViewing, TellsThatATextIsCut) {
  const std::string line = std::string(1023, 'x') + '\n';
  std::string mail = "From b@x Thu Jan  2 03:04:05 2020\nFrom: b@x\nSubject: long\n\n";
  for (std::size_t i = 0; i < 33 * 1024; ++i) mail += line;
  Write(mail, 1);
  auto opened = PstViewer::Open(_pst);
  ASSERT_TRUE(opened.ok());
  PstViewer& viewer = **opened;
  for (const ViewedFolder& folder : viewer.folders()) {
    const auto rows = viewer.Messages(folder.id, 0, 1);
    if (!rows.ok() || rows->rows.empty()) continue;
    const auto page = viewer.Document(rows->rows[0].id, {});
    ASSERT_TRUE(page.ok());
    EXPECT_NE(page->find("Only the beginning of this text"), page->npos);
    EXPECT_LT(page->size(), std::size_t{34} << 20);
    return;
  }
  FAIL() << "no message";
}

}  // namespace
}  // namespace parvane::desk
