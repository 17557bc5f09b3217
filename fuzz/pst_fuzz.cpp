// A PST opened for reading: everything in it is read, then it is checked.
#include <string>

#include "fuzz/expect.h"
#include "fuzz/pst_image.h"
#include "pstfile/check/integrity_checker.h"
#include "tests/pstfile/store_walk.h"

namespace {

using namespace parvane;
using namespace parvane::pstfile;

struct Findings : FindingSink {
  std::uint64_t count = 0;
  void OnFinding(const Finding& finding) override {
    ++count;
    Expect(!finding.code.empty() && !finding.message.empty(), "a finding says what it is");
    Expect(finding.message.find('\n') == std::string::npos, "a finding is one line");
  }
};

void Check(platform::FileSystem& files, bool acceptUnclosed) {
  Findings findings;
  const auto summary =
      CheckFile(files, kFuzzedPath, {.notes = true, .acceptUnclosed = acceptUnclosed}, findings);
  if (!summary.ok()) {
    Expect(!summary.status().message().empty(), "a refusal has a reason");
    return;
  }
  Expect(summary->clean() || findings.count > 0, "no fault without a finding");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  PstImage image(std::as_bytes(std::span(data, size)));
  const Bytes before = image.files()[kFuzzedPath];
  {
    const auto store = PstStore::Open(image.files(), kFuzzedPath, StoreOpenMode::kRead);
    if (store.ok()) StoreWalker(**store, 20'000).Walk();
  }
  Check(image.files(), false);
  Check(image.files(), true);
  Expect(image.files()[kFuzzedPath] == before, "reading changes nothing");
  return 0;
}
