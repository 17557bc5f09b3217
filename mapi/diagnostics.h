// What really happened in the built-in Extended MAPI.
//
// MAPI's own results tell a caller that a call was accepted; these counters tell what has reached
// the file. Each opening of a personal folder file has a record of its own, which is polled and
// survives log-off. The system's MAPI reports nothing here; what either refused of a message is
// told by mapi/refusals.h.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "mapi/message_store.h"

namespace parvane::mapi {

struct Failure {
  HRESULT result = 0;  // 0: none so far
  std::string text;    // UTF-8, one line: the file and the reason
};

struct StoreDiagnostics {
  // Messages of folders, embedded ones not counted. A commit always covers the first so many of
  // those saved.
  std::uint64_t messagesCreated = 0;    // CreateMessage succeeded
  std::uint64_t messagesSaved = 0;      // first SaveChanges succeeded: accepted by the store
  std::uint64_t messagesCommitted = 0;  // of those, now safely in the file
  std::uint64_t foldersCreated = 0;
  std::uint64_t foldersCommitted = 0;
  std::uint64_t attachmentsSaved = 0;
  std::uint64_t fileSize = 0;  // bytes, as of the last commit
  // Bytes that can surely be added before the file reaches its size limit, in what the file counts:
  // blocks with their ends and padding. What has been added and not yet committed is taken off.
  std::uint64_t roomLeft = 0;

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
  bool isOpen = false;  // until log-off; what was counted stays
};

// The record of the opening that `store` belongs to, which goes on being kept while somebody holds
// it. Null when the store is not of this process's built-in MAPI.
std::shared_ptr<const StoreDiagnostics> DiagnosticsOf(IMsgStore& store);
// The last failure of any call since ResetDiagnostics, those included that concern no open file
// (unknown profile, a file that cannot be opened...). Asking for something that is not there is no
// failure.
const Failure& LastFailure();
// Objects of the built-in MAPI (sessions, stores, tables, streams...) not yet released.
std::uint64_t LiveObjects();
// Buffers obtained from the built-in MAPI and not yet freed.
std::uint64_t LiveBuffers();
// Forgets the last failure.
void ResetDiagnostics();

}  // namespace parvane::mapi
