// What really happened in the built-in Extended MAPI.
//
// MAPI's own results tell a caller that a call was accepted; these counters tell what has reached
// the file. They are polled, survive log-off, and are kept for each personal folder file the
// process has touched. The system's MAPI reports nothing here; what either refused of a message is
// told by mapi/refusals.h.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mapi/types.h"

namespace parvane::mapi {

struct Failure {
  HRESULT result = 0;  // 0: none so far
  std::string text;    // UTF-8, one line: the file and the reason
};

struct StoreDiagnostics {
  std::u16string path;  // as configured

  // Messages of folders, embedded ones not counted. A commit always covers the first so many of
  // those saved.
  std::uint64_t messagesCreated = 0;    // CreateMessage succeeded
  std::uint64_t messagesSaved = 0;      // first SaveChanges succeeded: accepted by the store
  std::uint64_t messagesCommitted = 0;  // of those, now safely in the file
  std::uint64_t foldersCreated = 0;
  std::uint64_t foldersCommitted = 0;
  std::uint64_t attachmentsSaved = 0;
  std::uint64_t fileSize = 0;  // bytes, as of the last commit

  std::uint64_t failures = 0;  // of calls that concern this file
  Failure firstFailure;
  Failure lastFailure;
  // A write failed. Nothing more is accepted; what was committed before stands.
  bool latched = false;
  Failure writeFailure;  // that one
  // The file may not grow further (its format's or the configured limit).
  bool sizeLimitReached = false;
  // The allocation maps had to be rebuilt: the last writer had not closed the file cleanly.
  bool mapsRebuilt = false;
  // It carries a password, which Outlook asks for and which protects nothing.
  bool hasPassword = false;
  bool isOpen = false;  // counts stay readable afterwards, until the file is opened again
};

// One record for each file, in order of first use.
const std::vector<StoreDiagnostics>& AllStoreDiagnostics();
// Null when the process has not touched this file.
const StoreDiagnostics* FindStoreDiagnostics(std::u16string_view path);
// Failures of any call, those that concern no file (unknown profile...) included, since the last
// ResetDiagnostics. Asking for something that is not there is no failure.
const Failure& FirstFailure();
const Failure& LastFailure();
std::uint64_t FailureCount();
// Objects of the built-in MAPI (sessions, stores, tables, streams...) not yet released.
std::uint64_t LiveObjects();
// Buffers obtained from the built-in MAPI and not yet freed.
std::uint64_t LiveBuffers();
// Forgets failures and closed stores.
void ResetDiagnostics();

}  // namespace parvane::mapi
