// Puts onto a message by what it is known again (engine/message_facts.h): its PR_SEARCH_KEY.
//
// The key of a large message is worked out while the message is converted, where the machine has a
// processor to spare: it takes longer than all else that is done with an attachment.
#pragma once

#include <functional>
#include <optional>

#include "engine/item_step.h"
#include "engine/message_facts.h"
#include "engine/sibling_cast.h"
#include "platform/background_task.h"

namespace parvane::carry {

class KeyStep : public engine::ItemStep {
 public:
  // `beside`: a thread of its own may be used.
  explicit KeyStep(bool beside) : _beside(beside && platform::BackgroundTask::IsWorthwhile()) {}

  void BeforeConversion(QuelmarMIMEEngineCommon::IAsset& item) override;
  void BeforeSave(QuelmarMIMEEngineCommon::IAsset& item, mapi::IMessage& message) override;

 private:
  void WorkOut() noexcept;  // on the thread
  // The key that was begun with the conversion, if one was.
  std::optional<engine::MessageKey> TakeKey();

  engine::SiblingCast<engine::IMessageFacts, QuelmarMIMEEngineCommon::IAsset> _factsOf;
  bool _beside;
  // The thread's until it has been waited for. The work keeps the message's bytes alive, whatever
  // becomes of the item.
  std::function<engine::MessageKey()> _work;
  std::optional<engine::MessageKey> _key;
  platform::BackgroundTask _thread;  // the last, so that it ends first
};

}  // namespace parvane::carry
