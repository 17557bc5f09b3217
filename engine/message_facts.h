// What can be known of a message before anything is made of it: by what it is known again, and when
// it came. Offered beside the items of sources; nothing is worked out before somebody asks.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "platform/time.h"

namespace parvane::engine {

// The same for every copy of a message, whichever folder, file or source it comes from: what
// PR_SEARCH_KEY is for. See sources/message_key.h for what it is made of.
using MessageKey = std::array<std::byte, 16>;

// An item that offers them; found by dynamic_cast.
class IMessageFacts {
 public:
  virtual ~IMessageFacts() = default;
  // Nothing for a message whose bytes are not to be had: memory did not suffice.
  virtual std::optional<MessageKey> Key() = 0;
  // How its key is worked out, on any thread, as long as what is returned is there; it throws what
  // running out of memory throws. Nothing where that is done as quickly as Key is asked.
  virtual std::function<MessageKey()> KeyWork() const = 0;
  // The moment of delivery that its conversion writes; where its source was asked for the dates of
  // messages without one (engine/message_state.h), by whatever tells. 0: it is undated.
  virtual platform::FileTime Delivered() const = 0;
  // As the conversion writes it; empty: there is none.
  virtual std::u16string MessageId() const = 0;
};

}  // namespace parvane::engine
