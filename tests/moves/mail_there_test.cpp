#include "moves/mail_there.h"

#include <algorithm>
#include <string>
#include <vector>

#include "engine/assets.h"
#include "engine/message_facts.h"
#include "tests/mapi_builtin/session_fixture.h"

namespace parvane::moves {
namespace {

using mapi::PR_INTERNET_MESSAGE_ID_W;
using mapi::PR_MESSAGE_DELIVERY_TIME;
using mapi::PR_SEARCH_KEY;
using mapi::S_OK;

// A message, by what it is known again.
struct Known {
  char key;  // ' ': its bytes were not to be had
  std::u16string id;
  std::uint64_t delivered;
};

class Item : public QuelmarMIMEEngineCommon::IAsset, public engine::IMessageFacts {
 public:
  explicit Item(Known known) : _known(std::move(known)) {}
  const QuelmarMIMEEngineCommon::NullableString& Details() const override { return _details; }
  void Release() override {}
  std::optional<engine::MessageKey> Key() override {
    if (_known.key == ' ') return std::nullopt;
    engine::MessageKey key;
    key.fill(static_cast<std::byte>(_known.key));
    return key;
  }
  std::function<engine::MessageKey()> KeyWork() const override { return {}; }
  platform::FileTime Delivered() const override {
    return platform::FileTimeFromTicks(_known.delivered);
  }
  std::u16string MessageId() const override { return _known.id; }

 private:
  Known _known;
  QuelmarMIMEEngineCommon::NullableString _details;
};

class MailThereTest : public mapi::SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    LogOn();
    folder = MakeFolder(*top, u"f");
  }
  void TearDown() override {
    folder.Reset();
    SessionTest::TearDown();
  }
  // A key of '?' is one that the store has made.
  void Put(const Known& known) {
    auto message = NewMessage(*folder);
    const std::string key(16, known.key);
    if (known.key != '?') {
      ASSERT_EQ(Set(*message, mapi::BinaryValue(PR_SEARCH_KEY, key.data(), key.size())), S_OK);
    }
    if (!known.id.empty()) {
      ASSERT_EQ(Set(*message, mapi::TextValue(PR_INTERNET_MESSAGE_ID_W, known.id.c_str())), S_OK);
    }
    ASSERT_EQ(Set(*message, mapi::TimeValue(PR_MESSAGE_DELIVERY_TIME, known.delivered)), S_OK);
    ASSERT_EQ(message->SaveChanges(mapi::FORCE_SAVE), S_OK);
  }
  // 'y' for each item that is there already.
  static std::string Judge(MailThere& there, const std::vector<Known>& items) {
    std::string judged;
    for (const Known& known : items) {
      Item item(known);
      judged += there.Judge(item).verdict == Verdict::kAlreadyThere ? 'y' : '-';
    }
    return judged;
  }

  mapi::ComPointer<mapi::IMAPIFolder> folder;
};

TEST_F(MailThereTest, IsKnownByItsKeysAndCounted) {
  for (const Known& known : {Known{'a', u"<1>", 5}, {'a', u"<1>", 5}, {'b', u"<2>", 5}}) Put(known);
  MailThere there;
  ASSERT_TRUE(there.Add(*folder).ok());
  EXPECT_EQ(Judge(there, {{'a', u"", 0}, {'c', u"<2>", 5}, {' ', u"<2>", 5}}), "y--");
  EXPECT_EQ(there.left(), 2u);
  EXPECT_EQ(Judge(there, {{'b', u"", 0}, {'a', u"", 0}, {'a', u"<1>", 5}, {'b', u"", 0}}), "yy--");
  EXPECT_EQ(there.left(), 0u);
}

TEST_F(MailThereTest, IsKnownByItsMessageIdWhereAStoreMadeTheKeys) {
  for (const Known& known : {Known{'?', u"<1>", 5},
                             {'?', u" <1>", 5},
                             {'?', u"<2>", 5},
                             {'?', u"", 5},
                             {'a', u"<3>", 5}})
    Put(known);
  MailThere there(KnownBy::kKeyOrMessageId);
  ASSERT_TRUE(there.Add(*folder).ok());
  EXPECT_EQ(Judge(there, {{'x', u"<1>", 5}, {'y', u"<1> ", 5}, {'z', u"<1>", 5}}), "yy-");
  EXPECT_EQ(Judge(there, {{'x', u"<2>", 6}, {'x', u"", 5}, {'x', u"<4>", 5}}), "---");
  // What its key has told is not told once more by its Message-ID.
  EXPECT_EQ(Judge(there, {{'a', u"<3>", 5}, {'b', u"<3>", 5}}), "y-");
}

// Keys that somebody made to lie close together, and more than a table begins with.
TEST(KeyTables, CountManyKeys) {
  KeyTable counts;
  const auto key = [](std::uint32_t number) {
    engine::MessageKey made{};
    std::memcpy(made.data() + 12, &number, sizeof number);
    return made;
  };
  for (std::uint32_t round = 1; round <= 2; ++round) {
    for (std::uint32_t i = 0; i < 20'000; ++i) EXPECT_EQ(counts[key(i)]++, round - 1);
  }
  EXPECT_EQ(counts.size(), 20'000u);
  EXPECT_EQ(*counts.Find(key(19'999)), 2u);
  EXPECT_EQ(counts.Find(key(20'000)), nullptr);
}

}  // namespace
}  // namespace parvane::moves
