// What the header of one message tells of its state, for those who have no more than its bytes.
#pragma once

#include <string_view>

#include "mime/mime_header.h"
#include "sources/state/header_state.h"

namespace parvane::sources {

inline engine::MessageState StateInHeader(std::string_view message, MailboxWriter writer,
                                          const engine::StateWishes& wishes) {
  Tessary::MimeHeader header;
  header.Load(message);
  engine::MessageState state;
  ReadHeaderState(StateHeaders(header, message), writer, wishes, state);
  return state;
}

}  // namespace parvane::sources
