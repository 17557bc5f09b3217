// The first byte is the size of the pieces in which the rest is fed to the decoders.
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/expect.h"
#include "mime/transfer_encoding.h"
#include "platform/cpu.h"
#include "tests/support/transfer_encoders.h"

using namespace Tessary;
using parvane::test::EncodeBase64;
using parvane::test::EncodeQuotedPrintable;
using parvane::test::InPieces;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::size_t piece = 1 + data[0];
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::string base64 = DecodeBase64(text);
  Expect(InPieces<Base64Decoder>(text, piece) == base64, "base64 in pieces");
  parvane::platform::ForcePlainPaths(true);
  Expect(DecodeBase64(text) == base64, "base64 on the plain path");
  parvane::platform::ForcePlainPaths(false);
  Expect(InPieces<QuotedPrintableDecoder>(text, piece) == DecodeQuotedPrintable(text),
         "quoted-printable in pieces");
  Expect(InPieces<UuDecoder>(text, piece) == DecodeUu(text), "uuencode in pieces");
  Expect(DecodeBase64(EncodeBase64(text, piece)) == text, "base64 round trip");
  Expect(DecodeQuotedPrintable(EncodeQuotedPrintable(text)).size() >= text.size(),
         "quoted-printable loses nothing");
  return 0;
}
