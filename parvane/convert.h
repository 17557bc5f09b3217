// Mail into Outlook's PST files, in one call:
//
//   parvane::Account account = parvane::Convert({"/home/me/mail"}, "/home/me/mail.pst");
//   if (account.outcome() != parvane::Outcome::kDone) std::cerr << account.Summary();
//
// What is below, MAPI and the asset model, is for applications that bring their own sources or
// destinations (factory/store_factory.h, mapi/).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "parvane/options.h"

namespace parvane {

struct Progress {
  std::string_view folder;            // that is worked at
  std::uint64_t done = 0, total = 0;  // bytes; a total of 0 is not known yet
  std::uint64_t messages = 0;         // so far
};

// Hears of a run while it goes on, on the thread that runs it, and may stop it.
class Observer {
 public:
  virtual ~Observer() = default;
  // The work begins, maybe once more; what went before was only looking.
  virtual void Restart() {}
  // After every message, and while the sources are looked at.
  virtual void OnProgress(const Progress&) {}
  // Something to know before the work, which goes on.
  virtual void OnNotice(std::string_view) {}
  // Asked after every message. A run that is cancelled ends what it has begun, and tells so.
  virtual bool IsCancelled() const { return false; }
};

// The program's exit status says the same.
enum class Outcome : int {
  kDone = 0,
  kMailLeftBehind = 1,  // finished, but messages failed or mail was passed over
  kWrongUsage = 2,      // options that mean nothing; nothing was done
  kCouldNotFinish = 3,
  kCancelled = 130,
};

struct FolderTotals {
  std::string path;    // in the PST, with "/" between its parts
  std::string source;  // what was read
  std::uint64_t read = 0;
  std::uint64_t written = 0;  // and committed to the file
  std::uint64_t failed = 0;
};

// What has become of the mail. Copies share it; nothing changes it.
class Account {
 public:
  Outcome outcome() const;
  // Why it could not finish; empty when it could.
  const std::string& error() const;

  std::uint64_t read() const;
  std::uint64_t written() const;
  std::uint64_t failed() const;
  std::uint64_t pstBytes() const;  // of all PSTs that were written
  std::vector<FolderTotals> folders() const;

  // For people: a line for each folder, the totals, and whatever the owner of the mail should know.
  std::string Summary() const;
  std::string SummaryInOneLine() const;
  // What is to be said beside it: the error, that it was cancelled, how to go on.
  std::vector<std::string> Complaints() const;
  // For programs: the JSON report, piece by piece (docs/manual.md tells its fields).
  void WriteReport(const std::function<void(std::string_view)>& take) const;

  struct Record;
  explicit Account(std::shared_ptr<const Record> record) : _record(std::move(record)) {}

 private:
  std::shared_ptr<const Record> _record;
};

// Converts mailboxes, folders of mail, profiles, exports and archives into the PST `destination`.
// One run at a time in a process, on the calling thread; it chooses MAPI's entry points for the
// process. Nothing is thrown but what the observer throws.
Account Convert(const std::vector<std::string>& sources, const std::string& destination,
                const ConvertOptions& options = {}, Observer* observer = nullptr);
// What a conversion would do, from reading alone. Of no destination, where that is empty.
Account Scan(const std::vector<std::string>& sources, const std::string& destination = {},
             const ConvertOptions& options = {}, Observer* observer = nullptr);

}  // namespace parvane
