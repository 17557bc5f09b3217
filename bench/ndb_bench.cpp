// The lowest storey of the PST engine: check sums, encodings, values and nodes written and read.
//
// Copying the same bytes is the floor for the first three, writing them plainly to the same folder
// the floor for the values.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/system.h"
#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/data_tree.h"
#include "pstfile/ndb/encoding.h"
#include "pstfile/ndb/node_database.h"

namespace parvane::pstfile {
namespace {

using platform::FileSystem;

std::vector<std::byte> SomeBytes(std::size_t size) {
  std::vector<std::byte> bytes(size);
  std::uint32_t x = 1;
  for (std::byte& b : bytes) {
    x = x * 1664525 + 1013904223;
    b = static_cast<std::byte>(x >> 24);
  }
  return bytes;
}

void CountBytes(benchmark::State& state, std::size_t size) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
}

void BM_CopyBlock(benchmark::State& state) {
  const auto from = SomeBytes(kMaximumBlockData);
  std::vector<std::byte> to(from.size());
  for (auto _ : state) {
    std::copy(from.begin(), from.end(), to.begin());
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
  CountBytes(state, from.size());
}
BENCHMARK(BM_CopyBlock);

void BM_Crc(benchmark::State& state) {
  const auto bytes = SomeBytes(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(Crc(bytes));
  CountBytes(state, bytes.size());
}
BENCHMARK(BM_Crc)->Arg(64)->Arg(496)->Arg(kMaximumBlockData);

void BM_EncodeBlock(benchmark::State& state) {
  const auto method = static_cast<CryptMethod>(state.range(0));
  const auto from = SomeBytes(kMaximumBlockData);
  std::vector<std::byte> to(from.size());
  for (auto _ : state) {
    EncodeTo(method, 0x1234, from, to);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
  CountBytes(state, from.size());
}
BENCHMARK(BM_EncodeBlock)->ArgName("method")->Arg(1)->Arg(2);

std::u16string BenchPath() {
  return platform::JoinPath(platform::TemporaryFolder(), u"parvane_ndb_bench.pst");
}

constexpr std::size_t kValue = std::size_t{64} << 20;

void BM_WriteFilePlainly(benchmark::State& state) {
  FileSystem& files = FileSystem::Default();
  const auto bytes = SomeBytes(std::size_t{1} << 20);
  for (auto _ : state) {
    auto file = files.Open(BenchPath(), FileSystem::OpenMode::kCreateNew);
    bool good = file.ok();
    for (std::size_t at = 0; good && at < kValue; at += bytes.size()) {
      good = (*file)->WriteAt(at, bytes).ok();
    }
    if (!good || !(*file)->Flush().ok()) state.SkipWithError("cannot write");
    file = platform::Status();
    (void)files.Remove(BenchPath()).ok();
  }
  CountBytes(state, kValue);
}
BENCHMARK(BM_WriteFilePlainly)->Unit(benchmark::kMillisecond)->UseRealTime();

// One value of 64 MiB and a commit.
void BM_WriteValue(benchmark::State& state) {
  const auto bytes = SomeBytes(std::size_t{1} << 20);
  CreateOptions options;
  options.crypt = static_cast<CryptMethod>(state.range(0));
  options.replace = true;
  for (auto _ : state) {
    auto db = NodeDatabase::Create(FileSystem::Default(), BenchPath(), options);
    bool good = db.ok();
    if (good) {
      DataTreeWriter writer(**db);
      for (std::size_t at = 0; good && at < kValue; at += bytes.size()) {
        good = writer.Append(bytes).ok();
      }
      auto root = writer.Finish();
      good = good && root.ok() && (*db)->PutNode({NodeId(0x21), *root, {}, {}}).ok() &&
             (*db)->Publish().ok();
    }
    if (!good) state.SkipWithError("cannot write");
  }
  CountBytes(state, kValue);
  (void)FileSystem::Default().Remove(BenchPath()).ok();
}
BENCHMARK(BM_WriteValue)
    ->ArgName("method")
    ->DenseRange(0, 2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

// Small messages: a block of 1 KiB and a node each, a commit every 4096.
void BM_WriteNodes(benchmark::State& state) {
  const auto bytes = SomeBytes(1000);
  CreateOptions options;
  options.replace = true;
  auto db = NodeDatabase::Create(FileSystem::Default(), BenchPath(), options);
  if (!db.ok() || !(*db)->Publish().ok()) return state.SkipWithError("cannot create");
  std::uint32_t count = 0;
  for (auto _ : state) {
    auto bid = (*db)->WriteBlock(bytes);
    const NodeId nid(NodeKind::kMessage, ++count);
    bool good = bid.ok() && (*db)->PutNode({nid, *bid, {}, kNidIpmSubtree}).ok();
    if (count % 4096 == 0) good = good && (*db)->Commit().ok();
    if (!good) state.SkipWithError("cannot write");
  }
  state.SetItemsProcessed(count);
  if (!(*db)->Close().ok()) state.SkipWithError("cannot close");
  (void)FileSystem::Default().Remove(BenchPath()).ok();
}
BENCHMARK(BM_WriteNodes)->UseRealTime();

}  // namespace
}  // namespace parvane::pstfile
