// What the checker of PSTs finds, as text.
#pragma once

#include <set>
#include <string>

#include "pstfile/check/integrity_checker.h"

namespace parvane::pstfile {

struct Findings : FindingSink {
  std::string text;
  std::set<std::string, std::less<>> codes;

  void OnFinding(const Finding& finding) override {
    text += std::string(finding.code) + ": " + finding.message + "\n";
    codes.emplace(finding.code);
  }
};

}  // namespace parvane::pstfile
