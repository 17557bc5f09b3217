#include "carry/date_step.h"

#include "convert/properties/mapi_properties.h"
#include "engine/message_state.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"

namespace parvane::carry {

using namespace mapi;

void DateStep::MailWritten(const convert::MailInHand& mail, IMessage& message) {
  using QuelmarMIMEEngineCommon::OrvMAPIUtilities::SetPropTime;
  if (mail.depth > 0 || !_item.mail().LacksDate()) return;
  // Asked for here alone: nearly all mail has its date.
  const auto* stateful = dynamic_cast<const engine::IStatefulAsset*>(&_item.mail());
  const engine::MessageState* state = stateful ? stateful->State() : nullptr;
  if (!state || !state->undated) return;
  if (const auto& date = state->date.value) {
    // Lists sort by the first; the other two are what the conversion takes from a Date.
    for (const ULONG tag :
         {PR_MESSAGE_DELIVERY_TIME, PR_CLIENT_SUBMIT_TIME, PR_LAST_MODIFICATION_TIME}) {
      SetPropTime(&message, tag, *date);
    }
    _item.Count(MailCount::kDates);
    return;
  }
  // What an unreadable Date became is no moment of this message.
  SizedSPropTagArray<2> made = {2, {PR_MESSAGE_DELIVERY_TIME, PR_CLIENT_SUBMIT_TIME}};
  const HRESULT result = message.DeleteProps(made.get(), nullptr);
  if (Failed(result)) NoteRefusal(result, PR_CLIENT_SUBMIT_TIME);
}

}  // namespace parvane::carry
