// How large the PST of the mail that a scan has read will be, and how long its conversion takes.
//
// The size comes from a model with measured weights; docs/scan.md says on what mail, and how well
// it meets. The time is what reading has just taken on this machine, and for writing the rate of a
// usual disk, which this machine may not have: rough.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "carry/forecast.h"

namespace parvane::desk {

class ScanEstimate {
 public:
  void Add(const carry::MailMakeup& mail);
  void AddFolders(std::uint64_t folders) { _folders += folders; }
  // The scan took so long.
  void SetReading(std::uint64_t milliseconds) { _readingMilliseconds = milliseconds; }

  std::uint64_t PstBytes() const;
  std::uint64_t Milliseconds() const;

  // What there may not be room for.
  std::vector<std::string> warnings;

 private:
  std::uint64_t _messages = 0;
  std::uint64_t _folders = 0;
  std::uint64_t _readingMilliseconds = 0;
  carry::MailMakeup _mail;
};

}  // namespace parvane::desk
