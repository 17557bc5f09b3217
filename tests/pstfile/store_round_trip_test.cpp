// Stores written, closed, judged by independent readers, and read back.
#include <cstring>

#include "tests/pstfile/store_fixture.h"

namespace parvane::pstfile {
namespace {

using StoreRoundTrip = StoreTest;

TEST_F(StoreRoundTrip, EmptyStore) {
  Create();
  Close();
  ExpectFlawless();
  ExpectItems(0);
}

TEST_F(StoreRoundTrip, OneMessage) {
  Create();
  const NodeId inbox = Folder(u"Inbox");
  Insert(inbox, Write(Message(u"Hello", u"Some text"), {Recipient(u"Ann", u"ann@example.com")}));
  Close();
  ExpectFlawless();
  ExpectItems(1);
}

}  // namespace
}  // namespace parvane::pstfile
