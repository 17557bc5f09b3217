#include "sources/stores/apple/left_out_parts.h"

#include <algorithm>
#include <array>
#include <utility>

#include "mime/byte_search.h"
#include "mime/content_coding.h"
#include "mime/mime_message2.h"
#include "mime/transfer_encoding.h"
#include "platform/text.h"
#include "sources/line_cursor.h"

namespace parvane::sources {
namespace {

using platform::Status;
using Tessary::MimeField;
using Tessary::MimeMessage2;

constexpr std::string_view kMarker = "X-Apple-Content-Length";
constexpr std::string_view kEncodingField = "Content-Transfer-Encoding";
// So many are named.
constexpr std::size_t kMostNamed = 100;

bool IsBlank(std::string_view text) {
  return std::all_of(text.begin(), text.end(), platform::IsAsciiWhiteSpace);
}

const char* BeginOf(const MimeMessage2& entity) {
  return entity.headerText().empty() ? entity.body().data() : entity.headerText().data();
}
const char* EndOf(const MimeMessage2& entity) {
  return entity.body().data() + entity.body().size();
}

std::size_t Count(std::string_view text, std::string_view needle) {
  std::size_t count = 0;
  for (std::size_t at = Tessary::FindBytes(text, needle); at != text.npos;
       at = Tessary::FindBytes(text, needle, at + needle.size())) {
    ++count;
  }
  return count;
}

std::string Below(const std::string& number, std::size_t place) {
  return number.empty() ? std::to_string(place) : number + "." + std::to_string(place);
}

std::u16string NameOf(const MimeMessage2& part) {
  std::string_view name = part.disposition().Get("filename");
  if (name.empty()) name = part.contentType().Get("name");
  return platform::Utf8ToUtf16(Tessary::ContentCoding::DecodeFileName(name));
}

Status AppendBase64(platform::InputStream& bytes, MessageBuffer& out) {
  Tessary::Base64Encoder encoder;
  for (auto piece = bytes.Buffer(); !piece.empty(); piece = bytes.Buffer()) {
    out.Grow(encoder.Encode({piece.data(), piece.size()},
                            out.Room(Tessary::Base64Encoder::RoomFor(piece.size()))));
    bytes.Skip(piece.size());
  }
  out.Grow(encoder.Finish(out.Room(Tessary::Base64Encoder::RoomFor(0))));
  return bytes.status();
}

Status AppendLines(platform::InputStream& bytes, MessageBuffer& out) {
  {
    LineCursor cursor(bytes);
    bool lastWasEmpty = false;
    while (true) {
      while (cursor.CopyPlainLines(out, lastWasEmpty)) {
      }
      if (!cursor.AppendLine(out)) break;
      out.Append(kLineEnd);
    }
  }
  return bytes.status();
}

class PartsWriter {
 public:
  PartsWriter(const FindPartBody& find, MessageBuffer& out) : _find(find), _out(out) {}

  PutBack Write(const Tessary::ByteSlice& message) {
    Tessary::ParseLog unread(Tessary::ParseLog::Keeping::kNothing);
    MimeMessage2 root;
    root.LoadCrLf(message, unread);
    _message = message;
    _written = message.data();
    Walk(root, {});
    CopyTo(message.data() + message.size());
    return std::move(_result);
  }

 private:
  void Walk(const MimeMessage2& entity, const std::string& number) {
    if (!entity.children().empty()) return WalkChildren(entity, number);
    if (entity.header().Find(kMarker) != nullptr)
      return PutBackInto(entity, number.empty() ? "1" : number);
    if (entity.ContentTypeIs("message/rfc822") && MayLackParts(entity.body()))
      WalkMessage(entity, number);
  }

  // Parts that hold next to nothing are none to the parser; their delimiters count all the same.
  void WalkChildren(const MimeMessage2& entity, const std::string& number) {
    const std::string delimiter = "--" + entity.boundary();
    const char* before = entity.body().data();
    std::size_t place = 0;
    for (const auto& child : entity.children()) {
      const char* begin = BeginOf(*child);
      const std::string_view gap(before, static_cast<std::size_t>(begin - before));
      place += std::max<std::size_t>(Count(gap, delimiter), 1);
      Walk(*child, Below(number, place));
      before = EndOf(*child);
    }
  }

  void WalkMessage(const MimeMessage2& part, const std::string& number) {
    if (part.depth() >= Tessary::MimeLimits::kNesting) return;
    Tessary::ParseLog unread(Tessary::ParseLog::Keeping::kNothing);
    MimeMessage2 inner;
    inner.Load(_message.Part(part.body()), unread, part.depth() + 1);
    // What had to be rewritten for reading is no piece of the message.
    const bool within = inner.body().data() >= part.body().data() &&
                        EndOf(inner) <= part.body().data() + part.body().size();
    if (within) Walk(inner, inner.children().empty() ? Below(number, 1) : number);
  }

  void PutBackInto(const MimeMessage2& part, const std::string& number) {
    std::string scratch;
    const std::string_view length = part.header().Find(kMarker)->Value(scratch);
    // It is here after all, or there never was anything.
    if (!IsBlank(part.body()) || length.find_first_not_of(" \t0") == length.npos) return;
    LeftOutPart wanted{number, NameOf(part)};
    auto body = _find(wanted);
    if (!body.ok()) return Miss(std::move(wanted), body.status());

    CopyTo(BeginOf(part));
    const std::size_t before = _out.size();
    AppendHeader(part, !body->encoded);
    const Status status =
        body->encoded ? AppendLines(*body->bytes, _out) : AppendDecoded(*body, _out);
    if (!status.ok()) {
      _out.Cut(before);
      return Miss(std::move(wanted), status);
    }
    _written = EndOf(part);
    ++_result.restored;
  }

  static Status AppendDecoded(PartBody& body, MessageBuffer& out) {
    // All at once where the size is right: nothing is then moved.
    if (body.size <= Tessary::MimeLimits::kMessageBytes)
      out.Room(Tessary::Base64Encoder::RoomFor(static_cast<std::size_t>(body.size)));
    return AppendBase64(*body.bytes, out);
  }

  // With the empty line behind it, without the marker.
  void AppendHeader(const MimeMessage2& part, bool asBase64) {
    const bool change = asBase64 && Tessary::TransferEncodingFromName(part.transferEncoding()) !=
                                        Tessary::TransferEncoding::kBase64;
    for (const MimeField& line : part.header().Lines()) {
      if (line.NameIs(kMarker) || (change && line.NameIs(kEncodingField))) continue;
      _out.Append(line.Raw());
      if (!line.Raw().ends_with('\n')) _out.Append(kLineEnd);
    }
    if (change) _out.Append("Content-Transfer-Encoding: base64\r\n");
    _out.Append(kLineEnd);
  }

  void Miss(LeftOutPart part, Status why) {
    if (_result.missing.size() < kMostNamed) {
      _result.missing.push_back({std::move(part), std::move(why)});
    } else {
      ++_result.moreMissing;
    }
  }

  void CopyTo(const char* end) {
    _out.Append({_written, static_cast<std::size_t>(end - _written)});
    _written = end;
  }

  const FindPartBody& _find;
  MessageBuffer& _out;
  Tessary::ByteSlice _message;
  const char* _written = nullptr;  // in the message: behind what `_out` has of it
  PutBack _result;
};

}  // namespace

bool MayLackParts(std::string_view message) {
  // The program that left them out writes its field in one way only.
  return Tessary::FindBytes(message, kMarker) != message.npos;
}

PutBack PutPartsBack(const Tessary::ByteSlice& message, const FindPartBody& find,
                     MessageBuffer& out) {
  return PartsWriter(find, out).Write(message);
}

}  // namespace parvane::sources
