#include <cstdint>
#include <string>

#include "archives/archive_reader.h"
#include "fuzz/expect.h"
#include "tests/pstfile/ndb_memory_files.h"

using namespace parvane;

namespace {

// As much as is read of one entry: the rest of it would be more of the same.
constexpr std::uint64_t kEnough = 1 << 20;
constexpr int kMostEntries = 500;

void Read(platform::InputStream& stream) {
  for (auto buffer = stream.Buffer(); !buffer.empty() && stream.Position() < kEnough;
       buffer = stream.Buffer()) {
    const std::uint64_t before = stream.Position();
    stream.Skip(buffer.size());
    Expect(stream.Position() == before + buffer.size(), "what is skipped is counted");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  pstfile::MemoryFiles files;
  const auto* bytes = reinterpret_cast<const std::byte*>(data);
  files[u"archive"].assign(bytes, bytes + size);
  if (auto file = archives::OpenDecompressed(files, u"archive"); file.ok()) Read(**file);
  auto archive = archives::OpenArchive(files, u"archive");
  if (!archive.ok()) return 0;
  archives::Entry entry;
  for (int entries = 0; entries < kMostEntries && (*archive)->Next(entry); ++entries) {
    // Every other one is passed over.
    if (entries % 2 == 0) Read((*archive)->Stream());
    Expect((*archive)->Position() <= size, "no more is read than there is");
  }
  return 0;
}
