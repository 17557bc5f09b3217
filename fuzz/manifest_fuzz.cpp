// A manifest: what can be read of one, written anew, reads the same.
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "fuzz/expect.h"
#include "moves/manifest.h"
#include "moves/memory_files.h"

namespace {

using namespace parvane;
using Path = std::vector<std::u16string>;

// Calls `take` with each message that can be read.
template <typename Take>
bool Read(std::span<const std::byte> bytes, Take take) {
  moves::MemoryFiles files;
  {
    auto file = files.Open(u"m", platform::FileSystem::OpenMode::kCreateNew);
    Expect(file.ok() && (*file)->WriteAt(0, bytes).ok(), "memory takes a file");
  }
  auto reader = moves::ManifestReader::Open(files, u"m");
  Path folder;
  moves::MessageContent content;
  for (;;) {
    const auto next = reader->Next(folder, content);
    if (!next.ok() || !*next) return next.ok();
    Expect(reader->position() <= reader->size(), "it reads no further than there is");
    take(folder, content);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string again = moves::ManifestBeginning();
  std::vector<std::pair<Path, platform::Sha256Digest>> messages;
  Read(std::as_bytes(std::span(data, size)), [&](const Path& folder, const auto& content) {
    messages.emplace_back(folder, moves::DigestOf(content));
    again += moves::ManifestLine(folder, content);
  });
  again += moves::ManifestEnd(messages.size());
  std::size_t at = 0;
  const bool whole =
      Read(std::as_bytes(std::span(again)), [&](const Path& folder, const auto& content) {
        Expect(at < messages.size() && messages[at].first == folder &&
                   messages[at].second == moves::DigestOf(content),
               "what was written reads the same");
        ++at;
      });
  Expect(whole && at == messages.size(), "all of it reads again");
  return 0;
}
