#include "carry/key_step.h"

#include <new>
#include <utility>

#include "convert/properties/mapi_properties.h"
#include "engine/assets.h"
#include "mapi/message.h"
#include "mapi/tags.h"

namespace parvane::carry {

void KeyStep::BeforeConversion(QuelmarMIMEEngineCommon::IAsset& item) {
  TakeKey();  // of an item that was not saved
  engine::IMessageFacts* facts = _beside ? _factsOf(item) : nullptr;
  if (!facts) return;
  try {
    _work = facts->KeyWork();
    if (_work && !_thread.Start([this] { WorkOut(); })) _work = nullptr;
  } catch (const std::bad_alloc&) {
    _work = nullptr;  // the item is asked, then; as it is when the thread has no memory
  }
}

void KeyStep::WorkOut() noexcept {
  try {
    _key = _work();
  } catch (const std::bad_alloc&) {
  }
}

std::optional<engine::MessageKey> KeyStep::TakeKey() {
  if (!_work) return std::nullopt;
  _thread.Wait();
  _work = nullptr;
  return std::exchange(_key, std::nullopt);
}

// A store that has keys of its own refuses it, and nothing is lost of the mail.
void KeyStep::BeforeSave(QuelmarMIMEEngineCommon::IAsset& item, mapi::IMessage& message) {
  engine::IMessageFacts* facts = _factsOf(item);
  if (!facts) return;
  auto key = TakeKey();
  if (!key) key = facts->Key();
  if (key) {
    QuelmarMIMEEngineCommon::OrvMAPIUtilities::SetPropBin(
        &message, mapi::PR_SEARCH_KEY, static_cast<mapi::ULONG>(key->size()), key->data());
  }
}

}  // namespace parvane::carry
