// Every method stands in its published slot of the virtual table.
#include <gtest/gtest.h>

#include "mapi/session.h"
#include "tests/mapi/slot_of.h"

namespace parvane::mapi {
namespace {

struct Case {
  const char* name;
  std::size_t slot;
  std::size_t expected;
};

TEST(Interfaces, MethodsStandInTheirPublishedSlots) {
  const Case cases[] = {
      {"IUnknown::QueryInterface", SlotOf(&IUnknown::QueryInterface), 0},
#define METHOD(face, method, number) {#face "::" #method, SlotOf(&face::method), number},
#include "tests/mapi/methods.inc"
#undef METHOD
  };
  for (const Case& c : cases) EXPECT_EQ(c.slot, c.expected) << c.name;
}

}  // namespace
}  // namespace parvane::mapi
