#include "convert/header_readings.h"

#include <cstdlib>
#include <string>
#include <string_view>

#include "mime/date_parser.h"
#include "mime/email_message.h"

namespace parvane::convert {

DateRead ReadDate(Tessary::EmailMessage& mail) {
  DateRead read;
  Tessary::DateValue date;
  read.present = mail.Date(date);
  if (read.present) date.GetAsFileTime(false, &read.time);
  return read;
}

long ReadMozillaStatus(Tessary::EmailMessage& mail) {
  std::string scratch;
  std::string_view text;
  if (!mail.Field("X-Mozilla-Status", scratch, text)) return 0;
  return std::strtol(std::string(text).c_str(), nullptr, 16);
}

}  // namespace parvane::convert
