#include "moves/comparison.h"

#include <gtest/gtest.h>

#include "moves/manifest.h"
#include "platform/text.h"
#include "tests/pstfile/ndb_memory_files.h"

namespace parvane::moves {
namespace {

// A message as a test writes it: what it is known by, and what it holds. The same letter is the
// same value; '-' is none.
struct Mail {
  const char16_t* folder;
  const char* key;
  const char* id;
  const char* subject;
  const char* text;
};

MessageContent ContentOf(const Mail& mail) {
  MessageContent content;
  if (*mail.key != '-') content.key.emplace().fill(std::byte(*mail.key));
  if (*mail.id != '-') content.messageId = std::string("<") + mail.id + "@x>";
  content.subject = mail.subject;
  if (*mail.text != '-') content.text.emplace().fill(std::byte(*mail.text));
  content.sent = 1;
  return content;
}

// "missing A 1; different B 2 0x1 in C": kind, folder, position, fields, where it is.
std::string Compare(const std::vector<Mail>& there, const std::vector<Mail>& expected) {
  Comparison comparison;
  std::uint32_t place = 0;
  for (const Mail& mail : there)
    comparison.AddThere(comparison.folders().Of({mail.folder}), place++,
                        Summarise(ContentOf(mail)));
  comparison.BeginExpecting();
  std::uint64_t position = 0;
  for (const Mail& mail : expected)
    comparison.Expect(comparison.folders().Of({mail.folder}), ++position,
                      Summarise(ContentOf(mail)), {mail.id, mail.subject});
  std::string text;
  for (const Finding& finding : comparison.Finish()) {
    const auto folder = [&](std::uint32_t number) {
      return platform::Utf16ToUtf8(comparison.folders().PathOf(number).back());
    };
    constexpr const char* kKinds[] = {"missing", "different", "elsewhere", "extra"};
    text += (text.empty() ? "" : "; ") +
            std::string(kKinds[static_cast<std::size_t>(finding.kind)]) + " " +
            folder(finding.folder);
    if (finding.position > 0) text += " " + std::to_string(finding.position);
    if (finding.different) text += " " + std::to_string(finding.different);
    if (finding.foundIn != kNone && finding.foundIn != finding.folder)
      text += " in " + folder(finding.foundIn);
  }
  const FolderTally total = comparison.Total();
  EXPECT_EQ(total.expected, expected.size());
  EXPECT_EQ(total.same + total.Of(FindingKind::kExtra) + total.Of(FindingKind::kDifferent) +
                total.Of(FindingKind::kElsewhere),
            there.size());
  return text;
}

TEST(Comparison, TellsWhatIsMissingDifferentElsewhereAndExtra) {
  const Mail a = {u"A", "1", "1", "s", "t"}, b = {u"A", "2", "2", "s", "u"};
  struct Case {
    const char* name;
    std::vector<Mail> there, expected;
    const char* found;
  };
  const Case cases[] = {
      {"all there, in another order", {b, a}, {a, b}, ""},
      {"nothing there", {}, {a}, "missing A 1"},
      {"more there", {a, b}, {a}, "extra A"},
      {"copies are counted", {a, a, a}, {a, a}, "extra A"},
      {"of copies, one is missing", {a, a}, {a, a, a}, "missing A 3"},
      {"a copy elsewhere stands for another",
       {{u"B", "1", "1", "s", "t"}},
       {a, {u"B", "1", "1", "s", "t"}},
       "missing A 1 in B"},
      {"names that differ in case", {{u"a", "1", "1", "s", "t"}}, {a}, ""},
      {"moved", {{u"B", "1", "1", "s", "t"}}, {a}, "elsewhere A 1 in B"},
      // Known again, in this order of trust.
      {"by key", {{u"A", "1", "-", "x", "t"}}, {a}, "different A 1 1"},
      {"by Message-ID", {{u"A", "9", "1", "s", "x"}}, {a}, "different A 1 16"},
      {"by Message-ID, elsewhere", {{u"B", "9", "1", "s", "x"}}, {a}, "different A 1 16 in B"},
      {"by subject and date", {{u"A", "9", "-", "s", "x"}}, {a}, "different A 1 16"},
      {"by text", {{u"A", "9", "-", "x", "t"}}, {a}, "different A 1 1"},
      {"by nothing", {{u"A", "9", "9", "x", "x"}}, {a}, "missing A 1; extra A"},
      // Who has one copy that is right and one that is not gets each for its own.
      {"the right copy is not taken for the wrong one",
       {{u"A", "9", "1", "s", "x"}, a},
       {{u"A", "1", "1", "s", "t"}, {u"A", "9", "1", "s", "y"}},
       "different A 2 16"},
      {"a text where none should be says nothing", {a}, {{u"A", "1", "1", "s", "-"}}, ""},
      {"no text where one should be", {{u"A", "1", "1", "s", "-"}}, {a}, "different A 1 16"},
  };
  for (const Case& c : cases) EXPECT_EQ(Compare(c.there, c.expected), c.found) << c.name;
}

TEST(Comparison, FollowsAFullFolderIntoTheNext) {
  std::vector<Mail> mail(10'000, {u"In", "1", "1", "s", "t"});
  mail.push_back({u"In", "2", "2", "s", "u"});
  std::vector<Mail> there = mail;
  there.back().folder = u"In (2)";
  EXPECT_EQ(Compare(there, mail), "");
  there.back().folder = u"Out (2)";
  EXPECT_EQ(Compare(there, mail), "elsewhere In 10001 in Out (2)");
  there.back().folder = u"In (x)";
  EXPECT_EQ(Compare(there, mail), "elsewhere In 10001 in In (x)");
  there = {there.back()};
  there[0].folder = u"In (2)";
  EXPECT_EQ(Compare(there, {mail.back()}), "elsewhere In 1 in In (2)");
}

// ---- Manifests ----------------------------------------------------------------------------------

struct Read {
  std::vector<std::pair<std::vector<std::u16string>, MessageContent>> messages;
  std::string fault;
};
Read ReadManifest(const std::string& text) {
  pstfile::MemoryFiles files;
  const auto bytes = std::as_bytes(std::span(text));
  files[u"m"].assign(bytes.begin(), bytes.end());
  Read read;
  EXPECT_TRUE(IsManifest(files, u"m") || text.find("manifest 1") == text.npos);
  auto reader = ManifestReader::Open(files, u"m");
  for (;;) {
    auto& [folder, content] = read.messages.emplace_back();
    const auto next = reader->Next(folder, content);
    if (next.ok() && *next) continue;
    read.messages.pop_back();
    read.fault = next.status().message();
    return read;
  }
}

TEST(Manifest, HoldsWhatTheComparisonNeeds) {
  MessageContent full = ContentOf({u"", "k", "1", "a\tb\\n \n-\r", "t"});
  full.sent = 13'200'000'000;
  full.delivered = 13'200'000'061;
  full.html.emplace().fill(std::byte(7));
  full.originator.fill(std::byte(0xAB));
  full.attachments = {{"", {}}, {"-", full.originator}, {"a\tb.txt", full.recipients}};
  MessageContent dash = ContentOf({u"", "-", "-", "-", "-"});
  dash.sent = 0;
  const std::vector<std::u16string> folders[] = {{u"a/b", u"\\", u"-"}, {u"-"}};
  const std::string text = ManifestBeginning() + ManifestLine(folders[0], full) +
                           ManifestLine(folders[1], dash) + ManifestEnd(2);
  const Read read = ReadManifest(text);
  EXPECT_EQ(read.fault, "");
  ASSERT_EQ(read.messages.size(), 2u);
  for (int i = 0; i < 2; ++i) {
    const auto& [folder, content] = read.messages[static_cast<std::size_t>(i)];
    const MessageContent& wanted = i == 0 ? full : dash;
    EXPECT_EQ(folder, folders[i]);
    EXPECT_EQ(DigestOf(content), DigestOf(wanted));
    EXPECT_EQ(content.key, wanted.key);
    EXPECT_EQ(content.messageId, wanted.messageId);
    EXPECT_EQ(content.subject, wanted.subject);
  }
  EXPECT_NE(text.find("\t2019-04-17T18:40:00Z\t2019-04-17T18:41:01Z\t"), text.npos);
}

TEST(Manifest, SaysWhatIsWrongWithIt) {
  const std::string line = ManifestLine({u"A"}, ContentOf({u"", "k", "1", "s", "t"}));
  std::string cut = line;
  cut.replace(cut.find("6b6b"), 2, "6");
  struct Case {
    const char* name;
    std::string rest;
    const char* fault;
  };
  const Case cases[] = {
      {"no end", line, "m: line 4 should tell how it ends: it is cut"},
      {"one line lost", line + ManifestEnd(2), "m: line 4 counts other messages than stand there"},
      {"half a line", line.substr(0, line.size() / 2), "m: line 3 should tell"},
      {"a digit lost", cut + ManifestEnd(1), "m: line 3 is none of a manifest's"},
      {"something behind", ManifestEnd(0) + line, "m: line 4 comes after the end"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(ReadManifest(ManifestBeginning() + c.rest).fault.find(c.fault), 0u) << c.name;
  // As an editor on Windows leaves it.
  std::string windows = ManifestBeginning() + line + ManifestEnd(1);
  for (std::size_t at = 0; (at = windows.find('\n', at)) != windows.npos; at += 2)
    windows.replace(at, 1, "\r\n");
  EXPECT_EQ(ReadManifest(windows).fault, "");
}

}  // namespace
}  // namespace parvane::moves
