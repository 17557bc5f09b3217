#include "carry/key_step.h"

#include "convert/properties/mapi_properties.h"
#include "engine/assets.h"
#include "mapi/message.h"
#include "mapi/tags.h"

namespace parvane::carry {

// A store that has keys of its own refuses it, and nothing is lost of the mail.
void KeyStep::BeforeSave(QuelmarMIMEEngineCommon::IAsset& item, mapi::IMessage& message) {
  engine::IMessageFacts* facts = _factsOf(item);
  if (!facts) return;
  if (const auto key = facts->Key()) {
    QuelmarMIMEEngineCommon::OrvMAPIUtilities::SetPropBin(
        &message, mapi::PR_SEARCH_KEY, static_cast<mapi::ULONG>(key->size()), key->data());
  }
}

}  // namespace parvane::carry
