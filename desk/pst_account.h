// What has become of the messages handed to the PST.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "engine/destination_observer.h"
#include "mapi/diagnostics.h"

namespace parvane::desk {

class PstAccount {
 public:
  explicit PstAccount(std::u16string_view path) : _path(path) {}
  virtual ~PstAccount() = default;

  const std::u16string& Path() const { return _path; }
  // Messages accepted, and how many of these have reached the file; both only grow.
  virtual std::uint64_t Saved() const = 0;
  virtual std::uint64_t Committed() const = 0;
  // False when nobody tells of commits, and what was accepted is taken for committed.
  virtual bool TellsCommits() const = 0;
  virtual std::uint64_t FileSize() const = 0;
  // The PST was opened.
  virtual bool IsOpen() const = 0;
  // Whether somebody wanted it protected, or had not closed it; false where that is not known.
  virtual bool HasPassword() const { return false; }
  virtual bool MapsRebuilt() const { return false; }

  // It takes nothing more: disk full, I/O error, size limit.
  virtual bool Failed() const = 0;
  // Nothing more because it is as large as it may be; nothing else is wrong with it.
  virtual bool Full() const { return false; }
  // Bytes that surely fit before it is; where nobody tells, as many as one likes.
  virtual std::uint64_t RoomLeft() const { return UINT64_MAX; }
  // Calls that failed so far, and why, in one line each: the last one, and the one after which
  // nothing more was taken (empty: none).
  virtual std::uint64_t Failures() const = 0;
  virtual std::string LastFailure() const = 0;
  virtual std::string WriteFailure() const = 0;
  // Why the whole went wrong: the latter, else the first failure, which causes later ones.
  virtual std::string Reason() const = 0;

  // From the destination's observer.
  virtual void StoreOpened(mapi::IMsgStore& /*store*/) {}
  virtual void MapiAnswered(engine::DestinationStep /*step*/, std::int32_t /*result*/) {}

 private:
  std::u16string _path;
};

// From the diagnostics of the built-in MAPI, `record`'s until a store is opened.
std::unique_ptr<PstAccount> BuiltinAccount(
    std::u16string_view path, std::shared_ptr<const mapi::StoreDiagnostics> record = {});
// From the results of the system's MAPI, which is all it tells: what it has accepted is taken for
// written.
std::unique_ptr<PstAccount> SystemAccount(std::u16string_view path);

// An HRESULT for people: its number, and what it means where that is known.
std::string ResultText(std::int32_t result);

}  // namespace parvane::desk
