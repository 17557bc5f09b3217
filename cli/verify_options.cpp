#include "cli/verify_options.h"

#include "cli/option_words.h"
#include "platform/path.h"

namespace parvane::cli {
namespace {

constexpr const char* kVerifyExamples = R"(Examples:
  parvane verify ~/mail-export mail.pst
      whether all mail of the folder is in the PST, and as it was
  parvane verify ~/mail-export mail.pst mail-2.pst mail-3.pst
      the same of a conversion into several PSTs
  parvane verify --manifest mail.manifest ~/mail-export mail.pst
      and writes down what should be there, a line a message
  parvane verify mail.manifest mail.pst
      years later, without the mail

Give the sources as they were given to convert, with the same options.

Exit status: 0 all is there, 1 something is missing, different, in another
folder or could not be read, 2 wrong usage, 3 could not finish, 130 interrupted.)";

}  // namespace

void VerifyArguments::Describe(CLI::App& command) {
  command
      .add_option("PATHS", _paths,
                  "the sources as for convert, or a manifest in their place; then the PSTs, which "
                  "together hold the mail and are only read")
      ->option_text("SOURCE... FILE.pst...")
      ->required()
      ->type_name("");
  DescribeSources(command, _words);
  AddChoice(command, "--dedup", _options.dedup, kDedupWords,
            "as convert was told: copies that it left out are not missed");
  command
      .add_option("--manifest", _manifest,
                  "write a line for each message of the sources (without sources: of the PSTs): "
                  "key, folder, Message-ID, SHA-256 of its text and its attachments")
      ->type_name("FILE");
  command.add_flag("--json", _options.json, "write JSON");
  DescribeProgress(command, _options.progress,
                   "elsewhere nothing; lines: a line every few seconds");
  command.footer(kVerifyExamples);
}

std::string VerifyArguments::Understand() {
  for (const std::string& path : _paths) {
    if (std::string fault = FaultOfPath(path); !fault.empty()) return fault;
    _options.paths.push_back(platform::PathFromNative(path));
  }
  _options.manifest = platform::PathFromNative(_manifest);
  return parvane::Understand(_words, _options);
}

}  // namespace parvane::cli
