// Mail that is read from front to back, and the labels of Gmail that stand for its folders.
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/turns.h"
#include "platform/text.h"
#include "sources/state/gmail_labels.h"
#include "sources/stores/packed/joined_messages.h"
#include "sources/stores/packed/label_places.h"
#include "sources/stores/packed/packed_mail_store.h"
#include "tests/support/temporary_folder.h"

namespace parvane::sources {
namespace {

using engine::LabelUse;
using QuelmarMIMEEngineCommon::IAssetFolder;
using Tree = std::map<std::string, std::string>;  // each folder's subjects

std::string Message(const std::string& subject, const std::string& labels, int number = 0) {
  return "From " + std::to_string(number) + "@xxx Wed Jan 01 12:00:00 +0000 2025\n" +
         (labels.empty() ? "" : "X-Gmail-Labels: " + labels + "\n") + "Subject: " + subject +
         "\nMessage-ID: <" + subject + "@x>\n\ntext\n\n";
}

void Names(const IAssetFolder& folder, const std::string& path,
           std::vector<std::pair<IAssetFolder*, std::string>>& names) {
  for (IAssetFolder* child : folder.GetSubFolders()) {
    const std::string name = path + platform::Utf16ToUtf8(child->FolderName().value_or(u""));
    if (child->FolderType() == QuelmarMIMEEngineCommon::kAssetFolderTypeEmail)
      names.emplace_back(child, name);
    Names(*child, name + "/", names);
  }
}

// The item's details hold its subject.
void ReadOn(IAssetFolder& folder, std::string& subjects) {
  while (const auto item = folder.QueryAsset()) {
    const std::u16string details = item->Asset()->Details().value_or(u"");
    for (const char* subject : {"one", "two", "three", "four", "five"}) {
      if (details.find(platform::Utf8ToUtf16(subject)) != details.npos)
        subjects.append(subjects.empty() ? "" : " ").append(subject);
    }
  }
}

Tree Read(PackedMailStore& store, bool byTurns) {
  std::vector<std::pair<IAssetFolder*, std::string>> names;
  Names(*store.GetStoreRootFolder(), "", names);
  Tree tree;
  std::map<IAssetFolder*, std::string> nameOf(names.begin(), names.end());
  engine::TurnTaker* turns = byTurns ? engine::TurnTakerOf(store) : nullptr;
  if (turns) {
    turns->BeginTurns();
    while (IAssetFolder* folder = turns->NextTurn()) ReadOn(*folder, tree[nameOf.at(folder)]);
    turns->EndTurns();
    return tree;
  }
  for (const auto& [folder, name] : names) {
    ReadOn(*folder, tree[name]);
    EXPECT_EQ(folder->QueryAsset(), nullptr) << "the end stays the end";
    std::string again;
    folder->ResetQuery();
    ReadOn(*folder, again);
    EXPECT_EQ(again, tree[name]) << "until it is rewound";
  }
  return tree;
}

TEST(PackedMail, IsTheSameByTurnsAndFolderByFolder) {
  const TemporaryFolder folder;
  const std::vector<std::u16string> files = {
      folder.Write("a.mbox", Message("one", "Inbox,Opened", 1) + Message("two", "A/B,A,Unread", 2) +
                                 Message("three", "Inbox", 3) + Message("four", "", 4)),
      folder.Write("b.mbox", Message("two", "A", 2) + Message("five", "Archived,A", 5)),
      folder.Write("c.mbox", "")};
  struct Case {
    LabelUse labels;
    Tree tree;
  };
  const Case cases[] = {
      {LabelUse::kFolders,
       {{"Inbox", "one three"}, {"A/B", "two"}, {"A", "five"}, {"Archive", "four"}}},
      {LabelUse::kCopies,
       {{"Inbox", "one three"}, {"A/B", "two"}, {"A", "two five"}, {"Archive", "four"}}},
      {LabelUse::kOff, {{"a", "one two three four"}, {"b", "two five"}, {"c", ""}}},
  };
  for (const Case& test : cases) {
    PackedMailStore store(files, test.labels);
    ASSERT_EQ(store.OpenStore(nullptr, nullptr, false, nullptr),
              QuelmarMIMEEngineCommon::OperationResultCode::Completed);
    EXPECT_EQ(Read(store, false), test.tree);
    Tree byTurns = Read(store, true);
    for (const auto& [name, subjects] : test.tree) byTurns.try_emplace(name);
    EXPECT_EQ(byTurns, test.tree);
    EXPECT_EQ(Read(store, false), test.tree) << "by themselves again";
  }
}

TEST(GmailLabels, DecideByTheLanguageOfTheExport) {
  struct Case {
    const char* name;
    std::vector<std::u16string> export_;  // what the other messages have
    std::vector<std::u16string> labels;
    GmailLabel place;
    std::u16string user;
    std::vector<std::u16string> categories;
  };
  using L = GmailLabel;
  const Case cases[] = {
      {"German", {u"Posteingang", u"Geöffnet"}, {u"Gesendet", u"Wichtig"}, L::kSent, u"", {}},
      {"an English export's German label",
       {u"Inbox", u"Opened"},
       {u"Sent", u"Papierkorb"},
       L::kOfUser,
       u"Papierkorb",
       {u"Sent"}},
      {"nested deepest",
       {u"Inbox"},
       {u"B", u"A/B", u"C/D", u"Inbox"},
       L::kOfUser,
       u"A/B",
       {u"B", u"C/D", u"Inbox"}},
      {"trash before all",
       {u"Inbox"},
       {u"A", u"Inbox", u"TRASH"},
       L::kTrash,
       u"",
       {u"A", u"Inbox"}},
      {"NBSP is a blank",
       {u"Boîte de réception"},
       {u"Catégorie\u00A0: E-mails personnels", u"Non lus"},
       L::kArchived,
       u"",
       {}},
      {"keywords and tabs are none",
       {u"Inbox"},
       {u"IMAP_NotJunk", u"Category Updates", u"Category 5", u"Starred"},
       L::kOfUser,
       u"Category 5",
       {}},
      {"nothing", {}, {}, L::kArchived, u"", {}},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    GmailLanguageVote vote;
    for (const std::u16string& label : test.export_) vote.Add(label, 10);
    for (const std::u16string& label : test.labels) vote.Add(label, 1);
    const auto places = PlacesOf(test.labels, vote.Winners(), LabelUse::kFolders);
    ASSERT_EQ(places.size(), 1u);
    EXPECT_TRUE(places[0] == (LabelPlace{test.place, test.user}))
        << static_cast<int>(places[0].label) << platform::Utf16ToUtf8(places[0].name);
    EXPECT_EQ(CategoriesOf(test.labels, vote.Winners(), places[0]), test.categories);
  }
  EXPECT_EQ(LevelsOf(u"/A//../B/"), (std::vector<std::u16string>{u"A", u"B"}));
}

TEST(JoinedMessages, AreKnownByWhatGmailGivesThem) {
  JoinedMessages joined;
  const auto isCopy = [&](std::string_view fields, std::string_view separator,
                          std::size_t mailbox) {
    Tessary::MimeHeader header;
    header.Load(fields);
    return joined.IsCopy(header, separator, mailbox);
  };
  const std::string_view a = "Message-ID: <a@x>\r\nX-GM-THRID: 1\r\n", line = "From 12@xxx Wed";
  EXPECT_FALSE(isCopy(a, line, 0));
  EXPECT_FALSE(isCopy(a, line, 0)) << "within one mailbox nothing is the same";
  EXPECT_FALSE(isCopy("Subject: x\r\n", "From x", 0));
  EXPECT_TRUE(isCopy(a, line, 1));
  EXPECT_FALSE(isCopy(a, "From 13@xxx Wed", 1));
  EXPECT_FALSE(isCopy("Message-ID: <a@x>\r\nX-GM-THRID: 2\r\n", line, 1));
  EXPECT_FALSE(isCopy("Subject: x\r\n", "From x", 2)) << "without a name nothing is the same";
  EXPECT_TRUE(isCopy(a, "From 13@xxx Wed", 2));
}

}  // namespace
}  // namespace parvane::sources
