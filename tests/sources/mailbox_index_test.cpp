// A mailbox and the index beside it: what the index tells, and when it is believed.

#include "sources/state/mailbox_index.h"

#include <gtest/gtest.h>

#include "mime/mime_header.h"
#include "platform/text.h"
#include "tests/support/temporary_folder.h"

namespace parvane::sources {
namespace {

constexpr std::string_view kHead =
    "// <!-- <mdb:mork:z v=\"1.4\"/> -->\n<<(a=c)>(80=ns:msg:db:row:scope:msgs:all)(83=message-id)"
    "(87=size)(88=flags)(89=priority)(8A=label)(96=ns:msg:db:table:kind:msgs)"
    "(97=ns:msg:db:table:kind:thread)(9C=msgOffset)(9F=ns:msg:db:row:scope:dbfolderinfo:all)"
    "(A3=folderSize)(A8=UIDValidity)(B3=storeToken)(B6=keywords)(B7=junkscore)>\n";

// Three messages of 49 bytes: their separators stand at 0, 31h and 62h.
std::string Mailbox() {
  std::string mailbox;
  for (const char* name : {"a", "b", "c"})
    mailbox += std::string("From - \nX-Mozilla-Status: 0001\nMessage-ID: <") + name + ">\n\n\n";
  return mailbox;
}
const std::size_t kSize = Mailbox().size() / 3;

struct Case {
  const char* name;
  std::string rows;       // behind the head
  const char* states;     // of the three
  bool onServer = false;  // a copy of a server's folder
};

std::string Info(std::size_t size) {
  char text[64];
  std::snprintf(text, sizeof text, "{1:^9F {(k=i)}[1(^A3=%zx)]}\n", size);
  return text;
}
std::string At(std::size_t message) { return "(^B3=" + std::to_string(message * kSize) + ")"; }
std::string All(const std::string& a, const std::string& b, const std::string& c) {
  return Info(3 * kSize) + "{1:^80 {(k^96:c)}[1" + At(0) + "(^83=a)" + a + "][2" + At(1) +
         "(^83=b)" + b + "][3" + At(2) + "(^83=c)" + c + "]}\n";
}

std::string InWords(const engine::MessageState& state) {
  std::string words = state.deleted.Is(true) ? "gone" : state.read.Is(true) ? "read" : "unread";
  if (!state.read.value && !state.deleted.Is(true)) words = "unknown";
  if (state.flagged.Is(true)) words += "*";
  if (state.junk.Is(true)) words += " junk";
  if (state.importance.Is(engine::Importance::kHigh)) words += "!";
  if (state.date.value) {
    const std::uint64_t seconds = platform::FileTimeTicks(*state.date.value) / 10'000'000;
    words += " at " + std::to_string(seconds - platform::kUnixEpochInFileTimeSeconds);
  }
  for (const std::u16string& name : state.categories.value.value_or(std::vector<std::u16string>()))
    words += " " + platform::Utf16ToUtf8(name);
  return words;
}

const Case kCases[] = {
    {"flags in hexadecimal, keys, priority",
     All("(^88=84)(^B6=\\$label4 $4Eame)", "(^88=1)(^89=6)(dateReceived=5E0BE100)",
         "(^88=0)(^B7=100)(dateReceived=0)"),
     "unread* To Do Name, read! at 1577836800, unread junk"},
    {"values from the dictionary, whose numbers are the columns'",
     "<(88=5)(B6=\\$label\\\n1)(83=b)>" + All("(^88^88)(^B6^B6)", "", "(^B6\n =x)"),
     "read* Important, unread, unread x"},
    {"what comes later",
     All("(^88=1)", "(^88=1)", "(^88=1)") + "<(80=4)>[1:^80(^88^80)][-2:^80" + At(1) +
         "(^88=0)]{1:^80 -3 }",
     "unread*, unread, gone"},
    {"changes that ended, were given up and never ended",
     All("", "", "") +
         "@$${1{@[1:^80(^88=1)]@$$}1}@@$${2{@[2:^80(^88=1)]@$$}~~}@@$${3{@[2:^80(^88=1)]"
         "@$${4{@[3:^80(^88=1)]@$$}4}@@$${5{@[2:^80(^88=1)]",
     "read, unread, read"},
    {"rows of threads, and rows that no table lists",
     All("", "", "") + "[1:m(^88=1)][9:^80" + At(0) +
         "(^88=1)]{2:^80 {(k^97:c)} 9 }{1:^80 {(k=ns:msg:db:table:kind:thread)} 9 }",
     "unread, unread, unread"},
    {"a table emptied", All("", "", "") + "{-1:^80 {(k^96:c)} 2 }", "gone, unread, gone"},
    {"an offset in hexadecimal",
     Info(3 * kSize) + "{1:^80 {(k^96:c)}[1(^9C=0)(^88=4)][2(^9C=31)(^88=4)]}",
     "unread*, unread*, gone"},
    {"joined by its id and size",
     Info(3 * kSize) + "{1:^80 {(k^96:c)}[1(^83=a)(^87=28)(^88=4)][2(^83=b)(^87=1)(^88=4)]}",
     "unread*, read, gone"},
    {"of another mailbox", Info(3 * kSize + 1) + "{1:^80 {(k^96:c)}[1" + At(0) + "(^88=4)]}",
     "read, read, read"},
    {"of the right size, and wrong", Info(3 * kSize) + "{1:^80 {(k^96:c)}[1(^B3=7)(^88=4)]}",
     "read, read, read"},
    {"an index of nothing", "", "read, read, read"},
    {"a copy: the mailbox says nothing",
     "{1:^9F {(k=i)}[1(^A8=7)]}{1:^80 {(k^96:c)}[11" + At(0) + "(^88=0)][12" + At(2) + "(^88=1)]}",
     "unread, gone, read"},
    {"a copy whose index lists nothing", "", "unknown, unknown, unknown", true},
};

TEST(MailboxIndex, TellsOfEachMessage) {
  for (const Case& one : kCases) {
    const TemporaryFolder disk;
    const std::string folder = one.onServer ? "ImapMail/host/" : "Mail/";
    const std::u16string path = disk.Write(folder + "Inbox", Mailbox());
    disk.Write(folder + "Inbox.msf", std::string(kHead) + one.rows);
    MailboxIndex index(path);
    std::string states;
    for (std::size_t i = 0; i < 3; ++i) {
      constexpr std::size_t kSeparator = 8;
      const MessagePlace place{i * kSize, i * kSize + kSeparator, (i + 1) * kSize};
      const std::string bytes =
          Mailbox().substr(place.begin, static_cast<std::size_t>(place.end - place.begin));
      Tessary::MimeHeader header;
      header.Load(bytes);
      states +=
          (i == 0 ? "" : ", ") + InWords(index.StateOf(place, StateHeaders(header, bytes), {}));
    }
    EXPECT_EQ(states, one.states) << one.name;
  }
}

}  // namespace
}  // namespace parvane::sources
