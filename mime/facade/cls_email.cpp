#include "mime/facade/cls_email.h"

namespace Tessary {

bool ClsEmail::SetFromMime(const char* operation, const ByteSlice& text) {
  const std::lock_guard<std::mutex> lock(_criticalSection);
  _log.Begin(operation);
  _message.reset();
  const bool fits = !text.empty() && text.size() <= MimeLimits::kMessageBytes;
  if (text.empty()) {
    _log.Say("The MIME text is empty.");
  } else if (!fits) {
    _log.Say("The MIME text is too large.");
  } else {
    auto entity = std::make_shared<MimeMessage2>();
    entity->Load(text, _log, _depth);
    _message.emplace(std::move(entity));
  }
  _log.End(fits);
  return fits;
}

bool ClsEmail::SetFromEntity(std::shared_ptr<MimeMessage2> entity) {
  constexpr const char* kOperation = "SetFromEntity";
  if (entity->IsEmpty() || entity->depth() != _depth || !entity->Settle()) {
    return SetFromMime(kOperation, entity->Serialise());
  }
  const std::lock_guard<std::mutex> lock(_criticalSection);
  _log.Begin(kOperation);
  _message.emplace(std::move(entity));
  _log.End(true);
  return true;
}

std::unique_ptr<ClsEmail> ClsEmail::AttachedMessage(int index) {
  std::unique_ptr<ClsEmail> inner;
  Run("GetAttachedMessage", [&](EmailMessage& email, ParseLog& log) {
    const auto& messages = email.structure().attachedMessages();
    if (index < 0 || static_cast<std::size_t>(index) >= messages.size()) {
      log.Say("Index out of range: no attached message at index = %d.", index);
      return false;
    }
    const MimeMessage2& entity = messages[static_cast<std::size_t>(index)]->entity();
    inner = std::make_unique<ClsEmail>(entity.depth() + 1);
    inner->utf8Flag = utf8Flag;
    if (inner->SetFromMime("SetFromMimeText", entity.DecodedBody())) return true;
    log.Say("The attached message is empty.");
    inner.reset();
    return false;
  });
  return inner;
}

std::string ClsEmail::LastErrorText() {
  const std::lock_guard<std::mutex> lock(_criticalSection);
  return _log.Text();
}

}  // namespace Tessary
