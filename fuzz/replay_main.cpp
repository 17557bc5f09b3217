// Runs a fuzz target on every file of the folders given, and on every beginning of the short ones.
#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/file.h"
#include "platform/path.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr std::size_t kLongestCutInput = 2048;

void Run(std::string_view input) {
  // A copy of exact size, so that a memory checker sees every read beyond it.
  const std::string copy(input);
  (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(copy.data()), copy.size());
}

}  // namespace

int main(int argc, char** argv) {
  namespace platform = parvane::platform;
  platform::FileSystem& files = platform::FileSystem::Default();
  std::size_t inputs = 0;
  for (int i = 1; i < argc; ++i) {
    const std::u16string folder = platform::PathFromNative(argv[i]);
    const auto entries = files.List(folder);
    if (!entries.ok()) {
      std::fprintf(stderr, "%s\n", entries.status().message().c_str());
      return 1;
    }
    for (const platform::DirectoryEntry& entry : *entries) {
      if (entry.kind != platform::FileKind::kFile) continue;
      const auto content = platform::ReadWholeFile(files, platform::JoinPath(folder, entry.name));
      if (!content.ok()) {
        std::fprintf(stderr, "%s\n", content.status().message().c_str());
        return 1;
      }
      ++inputs;
      Run(*content);
      if (content->size() > kLongestCutInput) continue;
      for (std::size_t size = 0; size < content->size(); ++size) Run(content->substr(0, size));
    }
  }
  std::printf("%zu inputs\n", inputs);
  if (inputs == 0) std::fprintf(stderr, "no input to replay\n");
  return inputs == 0 ? 1 : 0;
}
