// Converts mail of any kind with the library: convert_mail SOURCE... OUT.pst
#include <cstdio>
#include <string>
#include <vector>

#include "parvane/convert.h"

namespace {

class OnTerminal : public parvane::Observer {
 public:
  void OnProgress(const parvane::Progress& progress) override {
    if (progress.messages % 1000 != 0 || progress.messages == 0) return;
    std::fprintf(stderr, "%.*s: %llu messages\n", static_cast<int>(progress.folder.size()),
                 progress.folder.data(), static_cast<unsigned long long>(progress.messages));
  }
  void OnNotice(std::string_view text) override {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
  }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const std::vector<std::string> sources(argv + 1, argv + argc - 1);
  parvane::ConvertOptions options;
  options.overwrite = true;
  OnTerminal observer;
  const parvane::Account account = parvane::Convert(sources, argv[argc - 1], options, &observer);
  std::fputs(account.Summary().c_str(), stdout);
  for (const std::string& complaint : account.Complaints())
    std::fprintf(stderr, "%s\n", complaint.c_str());
  return static_cast<int>(account.outcome());
}
