// What a program gets that chooses no MAPI: the system's.
#include <span>

#include <gtest/gtest.h>

#include "mapi/entry_points.h"
#include "mapi/results.h"

namespace parvane::mapi {
namespace {

TEST(SystemEntryPoints, AnswerWithoutAChoice) {
  // Memory works without a mail program, and would not without mapi32.dll.
  void* set = nullptr;
  ASSERT_EQ(MAPIAllocateBuffer(NewSizeSRowSet(2), &set), S_OK);
  auto* rows = static_cast<SRowSet*>(set);
  rows->cRows = 2;
  for (SRow& row : std::span(rows->aRow, 2)) {
    void* properties = nullptr;
    void* more = nullptr;
    ASSERT_EQ(MAPIAllocateBuffer(sizeof(SPropValue), &properties), S_OK);
    ASSERT_EQ(MAPIAllocateMore(100, properties, &more), S_OK);
    row = {0, 1, static_cast<SPropValue*>(properties)};
  }
  FreeProws(rows);
  FreeProws(nullptr);
}

}  // namespace
}  // namespace parvane::mapi
