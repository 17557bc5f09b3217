// How mail is converted, in the words of the command line: each member is the option of `parvane
// convert` of that name, with its words and defaults. docs/manual.md tells what they mean.
//
// Texts are UTF-8; those that are paths are as the system has them (UTF-8 on Windows).
#pragma once

#include <string>
#include <vector>

namespace parvane {

// Of everything that reads mail.
struct SourceOptions {
  std::string from = "auto";  // what the sources are
  std::string name;           // of the top folder for the mail; empty: from the source
  std::string keep = "all";   // beside the messages themselves: "all", "none", "state,headers"...
  bool skipDeleted = false;
  bool skipJunk = false;
  std::vector<std::string> folder, exclude;  // globs of folders that are taken, or are not
  std::string since, until;                  // "2019", "2019-05", "2019-05-03"; empty: no bound
  std::string separators = "standard";       // of mailboxes
  std::string labels;                        // of Gmail; empty: folders, of its exports
};

struct ConvertOptions : SourceOptions {
  std::string mapi = "builtin";  // who writes the PST
  bool append = false;
  bool overwrite = false;
  bool skipExisting = false;
  bool resume = false;
  std::string dedup = "off";
  std::string sizeLimit;         // "20GB"; empty: 50GB
  std::string split;             // "2GB" or "year"; empty: one PST
  std::string log, detailedLog;  // files; empty: none, here and below
  std::string report;            // JSON, or a page if its name ends in .html
  bool timings = false;          // of the stages of the work
};

}  // namespace parvane
