// The program's start-up: chooses who answers MAPI's entry points, then runs the command.
#include <exception>

#include "app/app.h"
#include "cli/check_command.h"
#include "cli/console.h"
#include "cli/convert_command.h"
#include "cli/each_command.h"
#include "cli/list_command.h"
#include "cli/options.h"
#include "cli/verify_command.h"
#include "desk/reasons.h"
#include "parvane/mapi_choice.h"
#include "platform/process.h"

namespace {

using parvane::desk::ExitCode;
using parvane::desk::MapiChoice;

MapiChoice MapiOf(const parvane::cli::Command& command) {
  if (const auto* convert = std::get_if<parvane::cli::ConvertCommandOptions>(&command))
    return convert->understood.mapi;
  const auto* list = std::get_if<parvane::cli::ListOptions>(&command);
  return list ? list->mapi : MapiChoice::kBuiltin;
}

ExitCode Run(int argc, char** argv) {
  auto parsed = parvane::cli::ParseArguments(parvane::platform::ProgramArguments(argc, argv));
  if (const ExitCode* code = std::get_if<ExitCode>(&parsed)) return *code;
  const auto& command = std::get<parvane::cli::Command>(parsed);
  if (const auto chosen = parvane::ChooseMapi(MapiOf(command)); !chosen.ok()) {
    parvane::cli::WriteError(chosen.message());
    return ExitCode::kUsage;
  }
  if (const auto* convert = std::get_if<parvane::cli::ConvertCommandOptions>(&command);
      convert && convert->each)
    return parvane::cli::RunEach(*convert);
  if (const auto* convert = std::get_if<parvane::cli::ConvertCommandOptions>(&command))
    return parvane::cli::RunConvert(*convert);
  if (const auto* window = std::get_if<parvane::app::Options>(&command))
    return static_cast<ExitCode>(parvane::app::RunApp(*window));
  if (const auto* check = std::get_if<parvane::cli::CheckCommandOptions>(&command))
    return parvane::cli::RunCheck(*check);
  if (const auto* verify = std::get_if<parvane::cli::VerifyCommandOptions>(&command))
    return parvane::cli::RunVerify(*verify);
  return parvane::cli::RunList(std::get<parvane::cli::ListOptions>(command));
}

}  // namespace

int main(int argc, char** argv) {
  parvane::platform::OpenMissingStandardStreams();
  try {
    return static_cast<int>(Run(argc, argv));
  } catch (const std::exception& error) {
    parvane::cli::WriteError(parvane::desk::InWords(error));
    return static_cast<int>(ExitCode::kCouldNotFinish);
  }
}
