// The pieces of writing and reading a PST: check sum, encoding, table rows, messages.
#include <array>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/system.h"
#include "platform/text.h"
#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/encoding.h"
#include "pstfile/store/pst_store.h"
#include "pstfile/store/subject.h"

namespace {

using namespace parvane;
using namespace parvane::pstfile;

std::u16string TemporaryPath() {
  return platform::JoinPath(
      platform::TemporaryFolder(),
      platform::Utf8ToUtf16("parvane-bench-" + std::to_string(platform::ProcessIdentifier()) +
                            ".pst"));
}

void BM_Crc(benchmark::State& state) {
  const std::vector<std::byte> block(8176, std::byte{0x5A});
  for (auto _ : state) benchmark::DoNotOptimize(Crc(block));
  state.SetBytesProcessed(state.iterations() * 8176);
}
BENCHMARK(BM_Crc);

void BM_Encode(benchmark::State& state) {
  const auto method = static_cast<CryptMethod>(state.range(0));
  std::vector<std::byte> from(8176, std::byte{0x5A});
  std::vector<std::byte> to(8176);
  for (auto _ : state) {
    EncodeTo(method, 0x1234, from, to);
    benchmark::DoNotOptimize(to.data());
  }
  state.SetBytesProcessed(state.iterations() * 8176);
}
BENCHMARK(BM_Encode)->Arg(1)->Arg(2);

PropertyList SampleMessage(std::size_t bodySize) {
  PropertyList list;
  list.SetText(tags::kMessageClass, u"IPM.Note");
  list.SetInt32(tags::kMessageFlags, 1);
  list.SetText(tags::kSubject, EncodeSubject(u"RE: The minutes of Thursday's meeting", 4));
  list.SetText(PropTag(0x0070001F), u"The minutes of Thursday's meeting");
  list.SetText(PropTag(0x0042001F), u"Somebody Somewhere");
  list.SetText(PropTag(0x0065001F), u"somebody@example.com");
  list.SetText(PropTag(0x0E04001F), u"Ann Other; Bob Example");
  list.SetScalar(PropTag(0x0E060040), 0x01DA000012345678);
  list.SetScalar(PropTag(0x00390040), 0x01DA000012345678);
  list.SetScalar(tags::kCreationTime, 0x01DA000012345678);
  list.SetScalar(tags::kLastModificationTime, 0x01DA000012345678);
  list.SetBytes(tags::kSearchKey, std::array<std::byte, 16>{});
  list.SetText(PropTag(0x007D001F), std::u16string(1500, u'h'));
  list.SetText(PropTag(0x1000001F), std::u16string(bodySize / 2, u'b'));
  return list;
}

// Messages of a given body size into one folder: the cost of each must not depend on how many are
// there already.
void BM_SaveMessages(benchmark::State& state) {
  auto& files = platform::FileSystem::Default();
  const std::u16string path = TemporaryPath();
  const PropertyList message = SampleMessage(static_cast<std::size_t>(state.range(0)));
  const auto count = state.range(1);
  PropertyList recipient;
  recipient.SetText(tags::kDisplayName, u"Ann Other");
  recipient.SetText(PropTag(0x3003001F), u"ann@example.com");
  recipient.SetInt32(tags::kRecipientType, 1);
  const ListRowSource recipients({&recipient, 1});
  for (auto _ : state) {
    (void)files.Remove(path);
    auto store = PstStore::Create(files, path, {.displayName = u"bench"});
    if (!store.ok()) return state.SkipWithError(store.status().message().c_str());
    auto folder = (*store)->CreateFolder((*store)->ipmSubtree(), u"Inbox");
    for (std::int64_t i = 0; i < count; ++i) {
      auto written = (*store)->WriteMessage(message, recipients, {});
      auto node = (*store)->InsertMessage(*folder, std::move(*written));
      if (!node.ok()) return state.SkipWithError(node.status().message().c_str());
    }
    if (!(*store)->Close().ok()) return state.SkipWithError("close failed");
  }
  (void)files.Remove(path);
  state.SetItemsProcessed(state.iterations() * count);
  state.counters["peak MiB"] = static_cast<double>(platform::PeakResidentBytes() >> 20);
}
BENCHMARK(BM_SaveMessages)
    ->Args({2'000, 10'000})
    ->Args({2'000, 100'000})
    ->Args({50'000, 5'000})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

// Every row of a contents table, with its subject.
void BM_ReadRows(benchmark::State& state) {
  auto& files = platform::FileSystem::Default();
  const std::u16string path = TemporaryPath();
  (void)files.Remove(path);
  constexpr std::int64_t kRows = 20'000;
  auto store = PstStore::Create(files, path, {.displayName = u"bench"});
  if (!store.ok()) return state.SkipWithError(store.status().message().c_str());
  auto folder = (*store)->CreateFolder((*store)->ipmSubtree(), u"Inbox");
  for (std::int64_t i = 0; i < kRows; ++i) {
    auto written = (*store)->WriteMessage(SampleMessage(200), ListRowSource({}), {});
    (void)(*store)->InsertMessage(*folder, std::move(*written));
  }
  for (auto _ : state) {
    auto table = (*store)->OpenContentsTable(*folder);
    for (std::int64_t row = 0; row < kRows; ++row) {
      if (!table->SelectRow(static_cast<std::uint64_t>(row)).ok()) return;
      benchmark::DoNotOptimize(table->Text(tags::kSubject));
    }
  }
  (void)(*store)->Close();
  (void)files.Remove(path);
  state.SetItemsProcessed(state.iterations() * kRows);
}
BENCHMARK(BM_ReadRows)->Unit(benchmark::kMillisecond);

}  // namespace
