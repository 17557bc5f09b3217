// What a part of a mail is: names for parts that come along as attachments and bring none.
#pragma once

#include <string>
#include <string_view>

#include "mime/email_message.h"

namespace parvane::carry {

// By what the part is: "signature.asc", "delivery-status.txt", "text.html", a meeting's title. In
// UTF-8, fit for a file; `text` is the part's text if it is one, also in UTF-8.
std::string NameOfPart(const Tessary::EmailMessage& email, const Tessary::Email2& part,
                       std::string_view text);

// The part is the plain-text or the HTML body.
bool IsBody(const Tessary::EmailMessage& email, const Tessary::Email2& part);

// "text.txt" as the second of its name: "text-2.txt".
std::string Numbered(const std::string& name, std::size_t number);

}  // namespace parvane::carry
