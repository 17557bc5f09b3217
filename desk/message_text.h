// The text of a message as a page to be shown: its HTML made safe, or its plain text, or what there
// is of text in its RTF.
#pragma once

#include <functional>
#include <string>

#include "mapi/message.h"
#include "platform/status.h"

namespace parvane::desk {

// `urlOfAttachment`: where the page finds the picture with this number. A text of more than 32 MiB
// is cut, which the page says. Fails when the text is there and cannot be read.
platform::Result<std::string> TextPage(
    mapi::IMessage& message, const std::function<std::string(std::uint32_t)>& urlOfAttachment);

}  // namespace parvane::desk
