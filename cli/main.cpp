// The program's start-up: chooses who answers MAPI's entry points, then runs the command.
#include <exception>

#include "cli/check_command.h"
#include "cli/console.h"
#include "cli/convert_command.h"
#include "cli/list_command.h"
#include "cli/options.h"
#include "mapi/builtin_entry_points.h"
#include "platform/process.h"

namespace {

using parvane::cli::ExitCode;

ExitCode Run(int argc, char** argv) {
  auto parsed = parvane::cli::ParseArguments(parvane::platform::ProgramArguments(argc, argv));
  if (const ExitCode* code = std::get_if<ExitCode>(&parsed)) return *code;
  const auto& command = std::get<parvane::cli::Command>(parsed);
  parvane::mapi::SelectEntryPoints(parvane::mapi::BuiltinEntryPoints());
  if (const auto* convert = std::get_if<parvane::cli::ConvertOptions>(&command))
    return parvane::cli::RunConvert(*convert);
  if (const auto* check = std::get_if<parvane::cli::CheckCommandOptions>(&command))
    return parvane::cli::RunCheck(*check);
  return parvane::cli::RunList(std::get<parvane::cli::ListOptions>(command));
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return static_cast<int>(Run(argc, argv));
  } catch (const std::exception& error) {
    parvane::cli::WriteError(error.what());
    return static_cast<int>(ExitCode::kCouldNotFinish);
  }
}
