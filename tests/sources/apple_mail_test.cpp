#include <map>

#include <gtest/gtest.h>

#include "engine/source_observer.h"
#include "mime/email_message.h"
#include "mime/mime_message2.h"
#include "platform/memory_input_stream.h"
#include "platform/path.h"
#include "platform/text.h"
#include "platform/time.h"
#include "sources/mbox_email_asset.h"
#include "sources/state/emlx_state.h"
#include "sources/stores/apple/apple_mail_store.h"
#include "sources/stores/apple/left_out_parts.h"
#include "sources/stores/apple/part_files.h"
#include "tests/support/temporary_folder.h"

namespace QuelmarMIMEEngineCommon {
namespace {

namespace engine = parvane::engine;
namespace platform = parvane::platform;
namespace sources = parvane::sources;

std::string WithCrLf(std::string text) {
  for (std::size_t at = 0; (at = text.find('\n', at)) != text.npos; at += 2)
    text.replace(at, 1, "\r\n");
  return text;
}

// A part of that type, left out ("-") or with a body.
std::string Part(const std::string& type, const std::string& body = "-") {
  const std::string field = "Content-Type: " + type + "\n";
  return body == "-" ? field + "X-Apple-Content-Length: 9\n\n" : field + "\n" + body;
}

std::string Multipart(const std::string& boundary, std::initializer_list<std::string> parts) {
  std::string text = "Content-Type: multipart/mixed; boundary=" + boundary + "\n\n";
  for (const std::string& part : parts) text += "--" + boundary + "\n" + part + "\n";
  return text + "--" + boundary + "--\n";
}

// Files by the numbers of their parts; what begins with "=" is encoded.
struct Restored {
  std::string text;
  sources::PutBack result;
  std::string asked;
};
Restored Restore(const std::string& message, const std::map<std::string, std::string>& files) {
  Restored restored;
  const auto find = [&](const sources::LeftOutPart& part) -> platform::Result<sources::PartBody> {
    restored.asked += part.number + " ";
    const auto file = files.find(part.number);
    if (file == files.end()) return platform::Status(platform::StatusCode::kNotFound, "gone");
    std::string_view bytes = file->second;
    const bool encoded = bytes.starts_with('=');
    if (encoded) bytes.remove_prefix(1);
    return sources::PartBody{platform::MemoryInputStream(bytes, 5), bytes.size(), encoded};
  };
  sources::MessageBuffer out;
  restored.result = sources::PutPartsBack(Tessary::ByteSlice::Copy(WithCrLf(message)), find, out);
  restored.text = out.view();
  return restored;
}

TEST(LeftOutParts, AreAskedForByTheirNumbers) {
  const std::string text = Part("text/plain", "text");
  const std::string out = Part("image/png");
  const std::string inner = Multipart("i", {text, out, out});
  const std::pair<std::string, std::string> cases[] = {
      {"Subject: s\n" + out, "1 "},
      {Multipart("o", {text, out, text, out}), "2 4 "},
      {Multipart("o", {text, inner, out}), "2.2 2.3 3 "},
      {Multipart("o", {"", "\n", out}), "3 "},
      {Multipart("o", {out, Part("message/rfc822", "Subject: x\n" + inner)}), "1 2.2 2.3 "},
      {Multipart("o", {text, Part("message/rfc822", "Subject: x\n" + out)}), "2.1 "},
      {Multipart("o", {"X-Apple-Content-Length: 0\n\n", "X-Apple-Content-Length: 9\n\nit is here"}),
       ""},
      {"Subject: s\n\nX-Apple-Content-Length: 9\n", ""},
  };
  for (const auto& [message, numbers] : cases) {
    const Restored none = Restore(message, {});
    EXPECT_EQ(none.asked, numbers) << message;
    EXPECT_EQ(none.text, WithCrLf(message)) << "what is not found leaves the message as it is";
    EXPECT_EQ(none.result.missing.size() * 2 <= numbers.size(), true);
  }
}

TEST(LeftOutParts, AreReadAsTheyWere) {
  const std::string binary("\0\r--o\r\n\nend", 11);
  const std::string message =
      Multipart("o", {Part("text/plain", "text"),
                      "Content-Transfer-Encoding: quoted-printable\n" + Part("image/png"),
                      "Content-Transfer-Encoding: base64\n" + Part("image/png"),
                      "Content-Transfer-Encoding: quoted-printable\n" + Part("image/gif"),
                      Part("message/rfc822")});
  const std::string mail = "Subject: inner\r\n\r\ntext\r\n";
  const Restored restored = Restore(
      message, {{"2", binary}, {"3", std::string(500, 'x')}, {"4", "=a=3Db\n=3D"}, {"5", mail}});
  EXPECT_EQ(restored.result.restored, 4u);
  EXPECT_EQ(restored.text.find("X-Apple-Content-Length"), std::string::npos);
  Tessary::ParseLog log(Tessary::ParseLog::Keeping::kNothing);
  Tessary::MimeMessage2 read;
  read.LoadCrLf(Tessary::ByteSlice::Copy(restored.text), log);
  const std::string bodies[] = {"text", binary, std::string(500, 'x'), "a=b\r\n=\r\n", mail};
  ASSERT_EQ(read.children().size(), std::size(bodies));
  for (std::size_t i = 0; i < std::size(bodies); ++i)
    EXPECT_EQ(read.children()[i]->DecodedBody().view(), bodies[i]) << i;
  // It is a message to the reader of the whole, too.
  auto entity = std::make_shared<Tessary::MimeMessage2>();
  entity->LoadCrLf(Tessary::ByteSlice::Copy(restored.text), log);
  EXPECT_EQ(Tessary::EmailMessage(entity).structure().attachedMessages().size(), 1u);
}

TEST(EmlxState, IsReadFromTheList) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"8623685633", "1496862878", "read 2017"},  // of a real message
      {"8590131206", "0", "deleted answered"},
      {"336", "518400000", "flagged draft forwarded 2017"},  // seconds since 2001
      {"16777217", "757425600.0", "read junk 1994"},
      {"50331648", "9999999999999", ""},  // junk, but said not to be
      {"-1", "x", "unknown"},
      {"18446744073709551616", "", "unknown"},
      {"", "", "unknown"},
  };
  for (const auto& [flags, received, expected] : cases) {
    engine::MessageState state;
    const sources::EmlxProperties list = {{"flags", flags}, {"date-received", received}};
    sources::LearnEmlxFlags(list, state);
    sources::LearnEmlxDate(list, state);
    std::string seen = state.read.value ? "" : " unknown";
    const std::pair<const engine::KnownState<bool>*, const char*> all[] = {
        {&state.read, "read"},       {&state.deleted, "deleted"}, {&state.replied, "answered"},
        {&state.flagged, "flagged"}, {&state.draft, "draft"},     {&state.forwarded, "forwarded"},
        {&state.junk, "junk"}};
    for (const auto& [value, name] : all) {
      if (value->Is(true)) seen += std::string(" ") + name;
    }
    platform::SystemTime date;
    if (state.date.value && platform::FileTimeToSystemTime(*state.date.value, &date))
      seen += " " + std::to_string(date.wYear);
    EXPECT_EQ(seen.empty() ? seen : seen.substr(1), expected) << flags;
  }
}

class Observer : public engine::SourceObserver {
 public:
  void MessageNamed(const engine::MessageLocation&, std::string_view messageId) override {
    messages += std::string(messageId.substr(0, messageId.find("\r"))) + ";";
  }
  void PathSkipped(std::u16string_view path, engine::SkipReason reason,
                   const platform::Status&) override {
    skipped.emplace(platform::PathForDisplay(platform::FileNameOfPath(path)), reason);
  }
  std::string messages;
  std::map<std::string, engine::SkipReason> skipped;
};

// "a[messages](children)" of each folder below.
std::string Tree(const IAssetFolder& folder, Observer& observer) {
  std::string tree;
  for (IAssetFolder* child : folder.GetSubFolders()) {
    tree += tree.empty() ? "" : " ";
    tree += platform::Utf16ToUtf8(child->FolderName().value_or(u"?"));
    observer.messages.clear();
    while (child->QueryAsset()) {
    }
    if (child->FolderType() == kAssetFolderTypeEmail) tree += "[" + observer.messages + "]";
    const std::string below = Tree(*child, observer);
    if (!below.empty()) tree += "(" + below + ")";
  }
  return tree;
}

class AppleMail : public testing::Test {
 protected:
  void Message(const std::string& path, const std::string& id = "") {
    const std::string name = path.substr(path.rfind('/') + 1);
    const std::string text =
        "Message-ID:" + (id.empty() ? name.substr(0, name.find('.')) : id) + "\nSubject: s\n\nb\n";
    disk.Write(path, std::to_string(text.size()) + "\n" + text +
                         "<?xml version=\"1.0\"?><plist><dict/></plist>\n");
  }
  std::string Open(std::string_view path) {
    AppleMailStore store(disk.Path(path));
    observer = {};
    engine::ObserveSource(store, &observer);
    EXPECT_EQ(store.OpenStore(nullptr, nullptr, false, nullptr), OperationResultCode::Completed);
    return Tree(*store.GetStoreRootFolder(), observer);
  }

  const TemporaryFolder disk;
  Observer observer;
};

TEST_F(AppleMail, KeepsPartsInFilesOfOtherNames) {
  disk.Write("a/Attachments/7/2/Mail-Anhang.png", "only");
  disk.Write("a/Attachments/7/2/.DS_Store", "");
  disk.Write("a/Attachments/7/3.1/other.bin", "other");
  disk.Write("a/Attachments/7/3.1/tu\xCC\x88r.BIN", "named");
  disk.Write("a/Messages/7.4.emlxpart", "encoded");
  disk.Write("a/Messages/8.emlxpart", "alone");
  disk.MakeFolder("a/Attachments/7/5/folder");
  struct Case {
    std::u16string message;
    std::string number;
    std::u16string name;
    std::string expected;
  };
  for (const Case& c : std::initializer_list<Case>{
           {u"7", "2", u"pixel", "only"},
           {u"7", "3.1", u"T\u00FCr.bin", "named"},
           {u"7", "3.1", u"../other.bin", "several files are in its place, none of its name"},
           {u"7", "4", u"", "encoded"},
           {u"7", "5", u"folder", "it was never downloaded"},
           {u"7", "1", u"Mail-Anhang.png", "it was never downloaded"},
           {u"8", "1", u"", "alone"},
       }) {
    const auto body =
        sources::PartFiles(disk.Path("a/Messages"), c.message).Find({c.number, c.name});
    const auto bytes = body.ok() ? body->bytes->Buffer() : std::span<const char>();
    EXPECT_EQ(body.ok() ? std::string(bytes.begin(), bytes.end()) : body.status().message(),
              c.expected);
  }
}

using engine::SkipReason;
using Skips = std::map<std::string, SkipReason>;

TEST_F(AppleMail, IsFoundAsItIsKeptToday) {
  const std::string uuid = "5B0C9A52-7E15-4C55-9E52-0A3C6B7D1F10";
  const std::string box = "/0F6A2C1B-93D4-4E0F-8D0A-2B6B1C7E5A33/Data/";
  const std::string in = "Mail/V10/" + uuid + "/In.mbox";
  Message(in + box + "Messages/42.emlx");
  Message(in + box + "1/3/Messages/13100.partial.emlx");
  Message(in + box + "9/Messages/9100.emlx");
  Message(in + box + "9/Messages/9100.partial.emlx", "never");
  Message(in + box + "9/Attachments/9100/2/mail.emlx", "never");
  Message(in + "/Tu\xCC\x88r.mbox" + box + "Messages/7.emlx");
  disk.Write(in + box + "9/Messages/._9100.emlx", "");
  disk.Write(in + box + "Messages/1.emlx", "nothing of the kind");
  disk.MakeFolder("Mail/V10/" + uuid + "/Empty.mbox" + box);
  disk.Write("Mail/V10/MailData/Envelope Index", "");
  disk.Write("Mail/PersistenceInfo.plist", "");
  Message("Mail/V9/" + uuid + "/In.mbox" + box + "Messages/42.emlx");
  Message("Mail/Mailboxes/In.mbox/Messages/42.emlx");
  disk.MakeFolder("Mail/V11/MailData");
  disk.MakeFolder("Mail/Bundles");
  const std::string inbox = "Empty[] In[42;9100;13100;](T\xC3\xBCr[7;])";
  EXPECT_EQ(Open("Mail"), inbox) << "the newest version that holds mail";
  EXPECT_EQ(observer.skipped, (Skips{{"Mailboxes", SkipReason::kOlderCopy},
                                     {"V11", SkipReason::kOlderCopy},
                                     {"V9", SkipReason::kOlderCopy},
                                     {"._9100.emlx", SkipReason::kResourceForkCompanion},
                                     {"1.emlx", SkipReason::kUnreadable}}));
  EXPECT_EQ(Open("Mail/V10"), inbox);
  EXPECT_EQ(Open("Mail/V10/" + uuid), inbox);
  EXPECT_EQ(Open(in), "In[42;9100;13100;](T\xC3\xBCr[7;])");
  EXPECT_EQ(Open(in + box + "9"), "9[9100;]");
  EXPECT_EQ(Open(in + box + "9/Messages"), "9[9100;]");
  EXPECT_EQ(Open(in + box + "1/3/Messages/13100.partial.emlx"), "13100[13100;]");
  EXPECT_EQ(Open("nowhere"), "");

  Message("Mail/V10/IMAP-a%40b.example@imap.c.example/In.mbox/Messages/3.emlx");
  EXPECT_EQ(Open("Mail"), "Account 5B0C9A52(" + inbox + ") a@b.example(In[3;])");
}

TEST_F(AppleMail, IsFoundAsItWasAndAsItIsExported) {
  Message("old/Mailboxes/Work.mbox/Messages/101.emlx");
  Message("old/Mailboxes/Work/Sub.mbox/Messages/102.emlx");
  Message("old/Mailboxes/Holder/Low.mbox/Messages/103.emlx");
  disk.MakeFolder("old/Mailboxes/Nothing/here");
  Message("old/Mailboxes/Work/Attachments.mbox/Messages/104.emlx");
  Message("old/Mailboxes/Work/Attachments/Below.mbox/Messages/105.emlx");
  const std::string work = "Work[101;](Attachments[104;](Below[105;]) Sub[102;]) Holder(Low[103;])";
  EXPECT_EQ(Open("old"), work);
  Message("old/POP-a@b.example/INBOX.imapmbox/Messages/5.emlx");
  Message("old/POP-a@b.example/INBOX.imapmbox/Messages/note.emlx");
  EXPECT_EQ(Open("old"), "On My Mac(" + work + ") a@b.example(INBOX[5;note;])");

  const std::string mail = "From a Tue Jan  1 00:00:00 2002\nMessage-ID:m\n\nb\n";
  disk.Write("exported/Box.mbox/mbox", mail);
  disk.Write("exported/Box.mbox/table_of_contents", "");
  disk.Write("exported/plain.mbox", mail);
  disk.Write("exported/More/Both.mbox/mbox", mail);
  Message("exported/More/Both.mbox/Messages/1.emlx");
  EXPECT_EQ(Open("exported"), "plain[m;] Box[m;] More(Both[1;])");
  EXPECT_EQ(observer.skipped, (Skips{{"mbox", SkipReason::kOlderCopy}}));
  EXPECT_EQ(Open("exported/Box.mbox"), "Box[m;]");
  disk.Write("years.mbox/2001.mbox", mail);
  disk.Write("years.mbox/Inbox", mail);
  Message("years.mbox/Attachments.mbox/Messages/8.emlx");
  EXPECT_EQ(Open("years.mbox"), "years[](2001[m;] Attachments[8;])");
  EXPECT_EQ(observer.skipped, (Skips{{"Inbox", SkipReason::kOtherExtension}}));
}

}  // namespace
}  // namespace QuelmarMIMEEngineCommon
