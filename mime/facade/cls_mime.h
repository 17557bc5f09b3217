// What stands behind a TsMime: the lock, the log of the last operation, and one entity of a tree
// that all views of it share.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "mime/facade/operation_log.h"
#include "mime/mime_message2.h"

namespace Tessary {

class ClsMime {
 public:
  ClsMime() : ClsMime(std::make_shared<MimeMessage2>()) {}
  // A view of that part.
  explicit ClsMime(std::shared_ptr<MimeMessage2> entity) : _entity(std::move(entity)) {}

  bool Load(const char* operation, const ByteSlice& text) {
    return Run(operation, [&](MimeMessage2&, ParseLog& log) {
      // Views of the tree that was here keep it.
      _entity = std::make_shared<MimeMessage2>();
      const bool fits = text.size() <= MimeLimits::kMessageBytes;
      if (fits) {
        _entity->Load(text, log);
      } else {
        log.Say("The MIME text is too large.");
      }
      return fits;
    });
  }

  // The frame of every operation: the critical section, and a log context closed with the outcome.
  // `work` takes the entity and the log, and says whether it succeeded.
  template <typename Work>
  bool Run(const char* operation, Work work) {
    const std::lock_guard<std::mutex> lock(_criticalSection);
    _log.Begin(operation);
    const bool success = work(*_entity, _log);
    _log.End(success);
    return success;
  }

  // The entity without that frame.
  MimeMessage2& entity() { return *_entity; }

  std::string LastErrorText() {
    const std::lock_guard<std::mutex> lock(_criticalSection);
    return _log.Text();
  }

  bool utf8Flag = false;

 private:
  std::mutex _criticalSection;
  OperationLog _log;
  std::shared_ptr<MimeMessage2> _entity;
};

}  // namespace Tessary
