#include "mime/transfer_encoding.h"

#include <algorithm>

#include "platform/text.h"

namespace Tessary {

TransferEncoding TransferEncodingFromName(std::string_view name) {
  const auto isNoise = [](char c) {
    return parvane::platform::IsAsciiWhiteSpace(c) || c == '"' || c == '\'' || c == '<';
  };
  while (!name.empty() && isNoise(name.front())) name.remove_prefix(1);
  name = name.substr(0, name.find_first_of(" \t\r\n;(\"'>,"));
  const auto is = [name](std::string_view candidate) {
    return parvane::platform::EqualsIgnoreAsciiCase(name, candidate);
  };
  if (is("base64") || is("base-64") || is("x-base64") || is("b")) {
    return TransferEncoding::kBase64;
  }
  if (is("quoted-printable") || is("quoted_printable") || is("quotedprintable") || is("q")) {
    return TransferEncoding::kQuotedPrintable;
  }
  if (is("uuencode") || is("x-uuencode") || is("x-uue") || is("uue") || is("x-uu")) {
    return TransferEncoding::kUuencode;
  }
  return TransferEncoding::kIdentity;
}

std::string DecodeBody(TransferEncoding encoding, std::string_view body) {
  switch (encoding) {
    case TransferEncoding::kBase64:
      return DecodeBase64(body);
    case TransferEncoding::kQuotedPrintable:
      return DecodeQuotedPrintable(body);
    case TransferEncoding::kUuencode:
      return DecodeUu(body);
    case TransferEncoding::kIdentity:
      break;
  }
  return std::string(body);
}

}  // namespace Tessary
