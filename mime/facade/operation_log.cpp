#include "mime/facade/operation_log.h"

namespace Tessary {

void OperationLog::Begin(const char* name) {
  Clear();
  _operation = name;
  _outcome = Outcome::kNone;
}

void OperationLog::End(bool success) {
  CloseAll();
  _outcome = success ? Outcome::kSuccess : Outcome::kFailure;
}

std::string OperationLog::Text() const {
  std::string text;
  if (_operation != nullptr) text.append(_operation).append(":\n");
  AppendLines(_operation != nullptr ? 1 : 0, text);
  if (_outcome != Outcome::kNone) {
    text.append(4, ' ').append(_outcome == Outcome::kSuccess ? "Success\n" : "Failed.\n");
    text.append("--").append(_operation != nullptr ? _operation : "").append("\n");
  }
  return text;
}

}  // namespace Tessary
