// The log that every facade object keeps of its last operation: the object's last-error text. The
// library's own notes (mime/parse_log.h) stand inside the operation's frame.
#pragma once

#include <string>

#include "mime/parse_log.h"

namespace Tessary {

class OperationLog : public ParseLog {
 public:
  // Begins the log of a new operation, forgetting the last one. `name` must be a literal.
  void Begin(const char* name);
  // Closes the operation's context with "Success" or the failure texts already logged.
  void End(bool success);

  // Indented four columns a context, lines ended by LF:
  //
  //   GetHtmlBody:
  //       No HTML alternative.
  //       No HTML body!
  //       Failed.
  //   --GetHtmlBody
  std::string Text() const;

 private:
  enum class Outcome : unsigned char { kNone, kSuccess, kFailure };

  // The operation's own frame is no entry: one that notes nothing costs three stores, and the
  // outcome is never dropped for want of room.
  const char* _operation = nullptr;
  Outcome _outcome = Outcome::kNone;
};

}  // namespace Tessary
