// What stands behind a TsEmail: the lock, the log of the last operation, and the library's message.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "mime/email_message.h"
#include "mime/facade/operation_log.h"
#include "platform/pooled_object.h"

namespace Tessary {

class ClsEmail : public parvane::platform::PooledObject<ClsEmail> {
 public:
  ClsEmail() = default;
  // A message that was found `depth` levels down in another one.
  explicit ClsEmail(int depth) : _depth(depth) {}

  bool SetFromMime(const char* operation, const ByteSlice& text);
  // What SetFromMime makes of the entity's text. The entity is not parsed anew where that can be
  // avoided, and must not change any more.
  bool SetFromEntity(std::shared_ptr<MimeMessage2> entity);
  // Null for a bad index and for an empty message.
  std::unique_ptr<ClsEmail> AttachedMessage(int index);

  // The frame of every operation: the critical section, a log context closed with the outcome, and
  // the test that there is a message. `work` takes the message and the log, and says whether it
  // succeeded.
  template <typename Work>
  bool Run(const char* operation, Work work) {
    const std::lock_guard<std::mutex> lock(_criticalSection);
    _log.Begin(operation);
    bool success = false;
    if (!_message) {
      _log.Say("No internal email object");
    } else {
      success = work(*_message, _log);
    }
    _log.End(success);
    return success;
  }

  // The message without that frame; null when nothing has been parsed.
  EmailMessage* message() { return _message ? &*_message : nullptr; }

  std::string LastErrorText();

  bool utf8Flag = false;

 private:
  std::mutex _criticalSection;
  OperationLog _log;
  std::optional<EmailMessage> _message;
  int _depth = 0;
};

}  // namespace Tessary
