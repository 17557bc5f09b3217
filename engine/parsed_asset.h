// Offered by an item beside IAsset: the e-mail that it was parsed into, for a step (item_step.h)
// that carries more of it over than its conversion does.
#pragma once

namespace Tessary {
class EmailMessage;  // mime/email_message.h
}

namespace parvane::engine {

class IParsedAsset {
 public:
  virtual ~IParsedAsset() = default;
  // As it was converted, its header repaired. Null when it could not be parsed; valid until the
  // item is released.
  virtual Tessary::EmailMessage* Parsed() const = 0;
};

}  // namespace parvane::engine
