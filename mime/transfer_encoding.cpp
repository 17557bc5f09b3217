#include "mime/transfer_encoding.h"

#include <algorithm>
#include <memory>

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

namespace {

// Large enough to be read in long runs, small enough for the second-level cache.
constexpr std::size_t kPiece = 192u << 10;

// Calls `decode` with pieces of `body` until it answers false.
template <typename Decode>
void ForEachPiece(std::string_view body, Decode decode) {
  while (!body.empty() && decode(body.substr(0, kPiece))) {
    body.remove_prefix(std::min(kPiece, body.size()));
  }
}

template <typename Decoder>
void DecodePieces(Decoder decoder, std::string_view body, ByteSink& sink) {
  std::string out;
  bool wanted = true;
  ForEachPiece(body, [&](std::string_view piece) {
    out.clear();
    decoder.Append(piece, out);
    return wanted = sink.Take(out);
  });
  if (!wanted) return;
  out.clear();
  decoder.Finish(out);
  sink.Take(out);
}

void DecodeBase64Pieces(std::string_view body, ByteSink& sink) {
  const auto out =
      std::make_unique_for_overwrite<char[]>(Base64Decoder::RoomFor(std::min(kPiece, body.size())));
  Base64Decoder decoder;
  bool wanted = true;
  ForEachPiece(body, [&](std::string_view piece) {
    return wanted = sink.Take({out.get(), decoder.Decode(piece, out.get())});
  });
  if (!wanted) return;
  std::string rest;
  decoder.Finish(rest);
  sink.Take(rest);
}

}  // namespace

void DecodeBodyTo(TransferEncoding encoding, std::string_view body, ByteSink& sink) {
  switch (encoding) {
    case TransferEncoding::kBase64:
      return DecodeBase64Pieces(body, sink);
    case TransferEncoding::kQuotedPrintable:
      return DecodePieces(QuotedPrintableDecoder(), body, sink);
    case TransferEncoding::kUuencode:
      return DecodePieces(UuDecoder(), body, sink);
    case TransferEncoding::kIdentity:
      sink.Take(body);
  }
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
