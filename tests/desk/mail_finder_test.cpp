// Mail found by itself in a home made for it, and what a chooser says of the same.
#include "desk/mail_finder.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "desk/file_chooser.h"
#include "tests/support/temporary_folder.h"

namespace parvane::desk {
namespace {

constexpr std::string_view kMail =
    "From a@x Thu Jan  2 03:04:05 2020\nSubject: 1\n\ntext\nFrom here on\n\n"
    "From b@x Thu Jan  2 03:04:05 2020\r\nSubject: 2\r\n\r\ntext\r\n\r\n"
    "From c@x Thu Jan  2 03:04:05 2020\nSubject: 3\n\n>From x\nend\n";
constexpr std::string_view kLetter = "Subject: x\n\ntext\n";
constexpr std::string_view kEmlx = "17\nSubject: x\n\ntext\n";
constexpr std::string_view kExport =
    "From 1@x Thu Jan 02 03:04:05 +0000 2020\nX-GM-THRID: 1\nX-Gmail-Labels: Inbox\n"
    "Subject: x\n\ntext\n";

class Finding : public testing::Test {
 protected:
  void Profile(const std::string& folder) const {
    _scratch.Write(folder + "/prefs.js",
                   "user_pref(\"mail.server.server1.directory-rel\", \"[ProfD]ImapMail/x.org\");\n"
                   "user_pref(\"mail.server.server1.userName\", \"ann@x.org\");\n"
                   "user_pref(\"mail.server.server1.type\", \"imap\");\n");
    _scratch.Write(folder + "/ImapMail/x.org/INBOX", kMail);
    _scratch.Write(folder + "/ImapMail/x.org/INBOX.msf", "index");
    _scratch.Write(folder + "/ImapMail/x.org/INBOX.sbd/2019", kMail);
    _scratch.Write(folder + "/Mail/Local Folders/Trash", "");
  }

  std::string Line(const FoundPlace& place) const {
    std::string line(CodeOf(place.kind));
    for (const std::u16string& path : place.paths)
      line += " " + platform::PathForDisplay(path).substr(
                        platform::PathForDisplay(_scratch.Path()).size() + 1);
    line += " folders=" + std::to_string(place.folders);
    const auto messages = CountMessages(place, [] { return false; });
    line += messages ? " messages=" + std::to_string(*messages) : " messages=?";
    for (const FoundAccount& account : place.accounts) {
      line += " [" + platform::PathForDisplay(account.name) + " " +
              std::to_string(account.folders) + "]";
    }
    std::ranges::replace(line, '\\', '/');
    return line;
  }

  std::vector<std::string> Found() const {
    PlacesToLook places;
    places.home = _scratch / u"home/ann";
    places.localData = _scratch / u"home/ann/.local/share";
    places.settings = _scratch / u"roaming";
    places.mailboxes = _scratch / u"var/mail";
    places.personal = {_scratch / u"home/ann/Downloads", _scratch / u"home/ann/Documents", u"",
                       _scratch / u"nowhere"};
    MailFinder finder(places);
    int steps = 0;
    while (finder.Step() && steps < 10'000) ++steps;
    std::vector<std::string> lines;
    for (const FoundPlace& place : finder.places()) lines.push_back(Line(place));
    std::ranges::sort(lines);
    return lines;
  }

  const ::TemporaryFolder _scratch;
};

TEST_F(Finding, KnowsWhereMailIsKept) {
  const std::string home = "home/ann/";
  Profile(home + ".thunderbird/a1.default");
  _scratch.Write(home + ".thunderbird/profiles.ini", "[Profile0]\nIsRelative=1\nPath=a1.default\n");
  Profile(home + "snap/thunderbird/common/.thunderbird/b2.snap");
  Profile(home + ".var/app/org.mozilla.Thunderbird/.thunderbird/c3.flat");
  Profile("roaming/Thunderbird/Profiles/d4.windows");
  Profile(home + "Documents/backup/e5.old");
  for (const char* name : {"Maildir/cur/1", "Maildir/new/2", "Maildir/.Sent/cur/3"})
    _scratch.Write(home + name, kLetter);
  _scratch.MakeFolder(home + "Maildir/.Sent/new");
  _scratch.Write(home + ".local/share/local-mail/inbox/cur/1", kLetter);
  _scratch.MakeFolder(home + ".local/share/local-mail/inbox/new");
  _scratch.Write(home + "Mail/inbox/1", kLetter);
  _scratch.Write(home + "Mail/inbox/.mh_sequences", "unseen: 1\n");
  _scratch.Write("var/mail/ann", kMail);
  for (const char* top : {"Library/Mail", "OldMac"}) {
    _scratch.Write(home + top + "/V10/A1/INBOX.mbox/B2/Data/Messages/1.emlx", kEmlx);
    _scratch.Write(home + top + "/V10/A1/INBOX.mbox/Info.plist", "");
  }
  const std::string downloads = home + "Downloads/";
  for (const char* name : {"takeout-20250101T120000Z-001.zip", "takeout-20250101T120000Z-002.zip",
                           "takeout-20240101T120000Z-001.tgz"})
    _scratch.Write(downloads + name, "PK\3\4");
  _scratch.Write(downloads + "Takeout/Mail/All mail.mbox", kExport);
  _scratch.Write(downloads + "old.pst", "!BDN");
  _scratch.Write(downloads + "a/b/list.mbox", kMail);
  _scratch.Write(downloads + "a/letters/1.eml", kLetter);
  _scratch.Write(downloads + "a/letters/2.eml", kLetter);
  // None of these is mail, or is to be looked at.
  _scratch.Write(downloads + "one.eml", kLetter);
  _scratch.Write(downloads + "not.mbox", "PK\3\4");
  _scratch.Write(downloads + "holiday.zip", "PK\3\4");
  _scratch.Write(downloads + "1/2/3/4/5/deep.mbox", kMail);
  _scratch.Write(downloads + ".hidden/x.mbox", kMail);
  _scratch.Write("elsewhere/y.mbox", kMail);
  (void)_scratch.Link("../../../elsewhere", downloads + "link");

  const std::vector<std::string> expected = {
      "apple home/ann/Library/Mail folders=1 messages=1",
      "apple home/ann/OldMac folders=1 messages=1",
      "eml home/ann/Downloads/a/letters folders=1 messages=2",
      "maildir home/ann/.local/share/local-mail folders=1 messages=1",
      "maildir home/ann/Maildir folders=2 messages=3",
      "mbox home/ann/Downloads/a/b/list.mbox folders=1 messages=3",
      "mbox var/mail/ann folders=1 messages=3",
      "mh home/ann/Mail folders=1 messages=1",
      "pst home/ann/Downloads/old.pst folders=0 messages=?",
      "takeout home/ann/Downloads/Takeout/Mail folders=1 messages=1",
      "takeout home/ann/Downloads/takeout-20240101T120000Z-001.tgz folders=0 messages=?",
      "takeout home/ann/Downloads/takeout-20250101T120000Z-001.zip "
      "home/ann/Downloads/takeout-20250101T120000Z-002.zip folders=0 messages=?",
      "thunderbird home/ann/.thunderbird/a1.default folders=2 messages=6 [Local Folders 0] "
      "[ann@x.org 2]",
  };
  std::vector<std::string> all = expected;
  for (const char* profile :
       {"home/ann/.var/app/org.mozilla.Thunderbird/.thunderbird/c3.flat",
        "home/ann/Documents/backup/e5.old", "home/ann/snap/thunderbird/common/.thunderbird/b2.snap",
        "roaming/Thunderbird/Profiles/d4.windows"}) {
    all.push_back("thunderbird " + std::string(profile) +
                  " folders=2 messages=6 [Local Folders 0] [ann@x.org 2]");
  }
  std::ranges::sort(all);
  EXPECT_EQ(Found(), all);
}

TEST_F(Finding, NothingIsFoundInNothing) {
  EXPECT_TRUE(Found().empty());
  MailFinder finder({});
  while (finder.Step()) {
  }
  EXPECT_TRUE(finder.places().empty());
}

TEST_F(Finding, CountingStops) {
  _scratch.Write("x.mbox", std::string(3 << 20, 'x'));
  FoundPlace place;
  place.kind = PlaceKind::kMbox;
  place.paths = {_scratch / u"x.mbox"};
  int asked = 0;
  EXPECT_FALSE(CountMessages(place, [&] { return ++asked > 2; }));
  EXPECT_LT(asked, 8);
}

TEST_F(Finding, AChooserSaysWhatThingsSeemToBe) {
  Profile("top/profile");
  _scratch.Write("top/maildir/cur/1", kLetter);
  _scratch.MakeFolder("top/maildir/new");
  _scratch.Write("top/.thunderbird/profiles.ini", "");
  _scratch.Write("top/Mac.mbox/mbox", kMail);
  for (const char* name :
       {"b.mbox", "a", "Z.PST", "takeout-1-001.zip", "x.tar.gz", "1.eml", "n.txt"})
    _scratch.Write("top/" + std::string(name), kMail);
  const auto listing = ListForChooser(_scratch / u"top/a");
  ASSERT_TRUE(listing.ok());
  EXPECT_EQ(listing->path, _scratch / u"top");
  EXPECT_EQ(listing->parent, _scratch.Path());
  std::string told;
  for (const ChooserEntry& entry : listing->entries) {
    told += platform::PathForDisplay(entry.name) + (entry.folder ? "/" : "") + "=" +
            std::string(entry.mail) + " ";
  }
  EXPECT_EQ(told,
            "Mac.mbox/=apple maildir/=maildir profile/=profile .thunderbird/=thunderbird 1.eml=eml "
            "a=mbox b.mbox=mbox n.txt= takeout-1-001.zip=takeout x.tar.gz=archive Z.PST=pst ");
  EXPECT_FALSE(ListForChooser(_scratch / u"none").ok());
  EXPECT_EQ(ListForChooser(u"/")->parent, u"");
}

}  // namespace
}  // namespace parvane::desk
