// Reading mail: parse, then decode everything, as a conversion does.
//
//   mime_bench [IN.mbox]...       without a file: generated mail
//
// For every input: the walk alone (build the tree, decode every leaf, subject, date and address
// lists), and the same by way of TsMime, as it is when messages are repaired first.
#include <functional>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/sample_mail.h"
#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_email.h"
#include "mime/facade/ts_mime.h"
#include "mime/facade/ts_string.h"

namespace {

using namespace Tessary;
using namespace parvane::bench;

void Report(benchmark::State& state, const Mailbox& box) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * box.bytes));
  state.counters["messages/s"] = benchmark::Counter(static_cast<double>(box.messages.size()),
                                                    benchmark::Counter::kIsIterationInvariantRate);
}

void WalkEmails(benchmark::State& state, const Mailbox& box) {
  for (auto _ : state) {
    for (const TsByteData& message : box.messages) {
      TsEmail email;
      email.SetFromMimeBytes(message);
      benchmark::DoNotOptimize(Walk(email));
    }
  }
  Report(state, box);
}

void WalkByWayOfMime(benchmark::State& state, const Mailbox& box) {
  for (auto _ : state) {
    for (const TsByteData& message : box.messages) {
      TsMime mime;
      TsString text;
      TsEmail email;
      mime.LoadMimeBytes(message);
      mime.SetHeaderField("X-Repaired", "yes");
      mime.getMime(text);
      email.SetFromMimeText(text);
      benchmark::DoNotOptimize(Walk(email));
    }
  }
  Report(state, box);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::vector<Mailbox> boxes;
  for (int i = 1; i < argc; ++i) boxes.push_back(Read(argv[i]));
  if (boxes.empty()) {
    boxes.push_back(SmallText());
    boxes.push_back(Attachments());
  }
  for (const Mailbox& box : boxes) {
    benchmark::RegisterBenchmark(("email/" + box.name).c_str(), WalkEmails, std::cref(box));
    benchmark::RegisterBenchmark(("mime_and_email/" + box.name).c_str(), WalkByWayOfMime,
                                 std::cref(box));
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
