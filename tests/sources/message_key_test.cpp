#include "sources/message_key.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace parvane::sources {
namespace {

std::string Hex(const engine::MessageKey& key) {
  std::string hex;
  for (const std::byte byte : key) {
    for (const int nibble : {std::to_integer<int>(byte) >> 4, std::to_integer<int>(byte) & 15})
      hex += "0123456789abcdef"[nibble];
  }
  return hex;
}

// FIPS 180-4's examples: one block, two blocks, no bytes.
TEST(MessageKeys, AreTheBeginningOfTheSha256) {
  EXPECT_EQ(Hex(KeyOf("abc")), "ba7816bf8f01cfea414140de5dae2223");
  EXPECT_EQ(Hex(KeyOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
            "248d6a61d20638b8e5c026930c3e6039");
  EXPECT_EQ(Hex(KeyOf("")), "e3b0c44298fc1c149afbf4c8996fb924");
}

TEST(MessageKeys, AreThoseOfTheMessageWithoutWhatMailProgramsRewrite) {
  const std::string plain = "From: a@b\r\nSubject: s\r\n\r\ntext\r\n";
  for (const std::string same : {
           "From: a@b\r\nSubject: s\r\n\r\ntext",
           "From: a@b\r\nSubject: s\r\n\r\ntext\r\n\r\n",
           "X-Mozilla-Status: 0001\r\nX-Mozilla-Status2: 0\r\nFrom: a@b\r\nSubject: "
           "s\r\n\r\ntext\r\n",
           "From: a@b\r\nx-mozilla-keys:  $label1 \r\n\t junk\r\nSubject: s\r\n\r\ntext\r\n",
           "From: a@b\r\nStatus: RO\r\nSubject: s\r\nX-Status : A\r\nX-UID: 12\r\nX-Keywords:\r\n "
           "NonJunk\r\n\r\ntext\r\n",
       })
    EXPECT_EQ(Hex(KeyOf(same)), Hex(KeyOf(plain))) << same;
  const std::vector<std::string> others = {
      "From: a@b\r\nSubject: s\r\n\r\ntext2\r\n",
      "From: a@b\r\nSubject: s\r\n\r\nStatus: RO\r\ntext\r\n",  // no field
      "From: a@b\r\nStatus-Of: RO\r\nSubject: s\r\n\r\ntext\r\n",
      "From: a@b\r\nX-Keywords\r\nSubject: s\r\n\r\ntext\r\n",
      "From: a@b\r\nSubject: s\r\n Status: RO\r\n\r\ntext\r\n",  // a fold of the subject
      "From: a@b\r\nSubject: s\r\n\r\n\r\ntext\r\n",
      "Subject: s\r\nFrom: a@b\r\n\r\ntext\r\n",
  };
  for (const std::string& other : others) EXPECT_NE(Hex(KeyOf(other)), Hex(KeyOf(plain))) << other;
}

}  // namespace
}  // namespace parvane::sources
