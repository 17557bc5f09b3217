#include <cstdint>
#include <string>

#include "fuzz/expect.h"
#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_email.h"
#include "mime/facade/ts_mime.h"
#include "mime/facade/ts_string.h"
#include "sources/date_repair.h"
#include "sources/message_repair.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace Tessary;
  TsByteData bytes;
  bytes.adopt(std::string(reinterpret_cast<const char*>(data), size));
  TsMime mime;
  mime.put_Utf8(true);
  Expect(mime.LoadMimeBytes(bytes), "any message loads");
  QuelmarMIMEEngineCommon::AdjustMimeForTSMail(&mime);
  TsString text;
  Expect(mime.getMime(text), "a repaired message serialises");
  TsEmail email;
  Expect(email.SetFromMimeText(text) == !text.isEmpty(), "and is taken as an e-mail");

  TsString date;
  date.put_Utf8(true);
  date.append(std::string_view(reinterpret_cast<const char*>(data), size));
  QuelmarMIMEEngineCommon::DateTimeUtilities::TryFixTimeStr(date);
  return 0;
}
