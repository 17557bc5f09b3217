// parvane_texts FOLDER VERSION DATE TOLD: writes man pages and completions into FOLDER, from the
// table that the program reads its command line by, and from what the folder TOLD has to add to the
// man pages.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "cli/command_line.h"
#include "packaging/texts/writers.h"

namespace {

using namespace parvane::texts;

void Write(const std::filesystem::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

std::string Read(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteAll(char** arguments) {
  const std::filesystem::path folder = arguments[1], told = arguments[4];
  parvane::cli::CommandLine line;
  const std::vector<CommandText> commands = CommandsOf(line.parser());
  for (const CommandText& command : commands) {
    const std::string name = command.name.empty() ? "parvane" : "parvane-" + command.name;
    Write(folder / (name + ".1"),
          ManPage(command, commands, Read(told / (name + ".roff")), {arguments[2], arguments[3]}));
  }
  Write(folder / "parvane.bash", BashCompletion(commands));
  Write(folder / "_parvane", ZshCompletion(commands));
  Write(folder / "parvane.fish", FishCompletion(commands));
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 5) throw std::runtime_error("usage: parvane_texts FOLDER VERSION DATE TOLD");
    WriteAll(argv);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "parvane_texts: %s\n", error.what());
    return 1;
  }
}
