#include "mime/mime_message2.h"

#include <algorithm>
#include <cstring>

#include "mime/byte_search.h"
#include "mime/charset_naming.h"
#include "mime/multipart_splitter.h"
#include "platform/stage_times.h"
#include "platform/text.h"

namespace Tessary {
namespace {

using parvane::platform::EqualsIgnoreAsciiCase;
using parvane::platform::Stage;
using parvane::platform::StageMark;
using parvane::platform::StartsWithIgnoreAsciiCase;

constexpr auto kNone = std::string_view::npos;
// Of 200,000 parts each byte counts.
constexpr std::size_t kUsualPartLines = 1;

std::string ToCrLf(std::string_view text) {
  std::string out;
  out.reserve(text.size() + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) break;
    const std::size_t line = end > 0 && text[end - 1] == '\r' ? end - 1 : end;
    out.append(text.substr(0, line)).append("\r\n");
    text.remove_prefix(end + 1);
  }
  return out.append(text);
}

// An empty line that ends in CR LF behind a line that ends in a bare LF, before any other one. The
// text does not begin with a line end.
bool HeaderEndsInMixedLineEnds(std::string_view text) {
  for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at)) {
    const bool bare = text[at - 1] != '\r';
    ++at;
    if (text.substr(at, 2) == "\r\n") return bare;
  }
  return false;
}

std::unique_ptr<ContentField> ReadContentField(const MimeHeader& header, std::string_view name,
                                               std::string_view charset) {
  const MimeField* field = header.Find(name);
  if (field == nullptr) return nullptr;
  std::string scratch;
  return std::make_unique<ContentField>(field->Value(scratch), charset);
}

bool IsContentField(std::string_view name) { return StartsWithIgnoreAsciiCase(name, "Content-"); }

bool IsBinaryType(std::string_view contentType) {
  for (std::size_t slash = contentType.find('/'); slash != kNone;
       slash = contentType.find('/', slash + 1)) {
    for (const std::string_view binary : {"image", "audio", "video", "application"}) {
      if (parvane::platform::EndsWithIgnoreAsciiCase(contentType.substr(0, slash), binary)) {
        return true;
      }
    }
  }
  return false;
}

// Whether the header at the start of a message shows the marks of quoted-printable: an encoded "="
// or a soft line break.
bool HeaderIsQuotedPrintable(std::string_view message) {
  const std::string_view header = message.substr(0, message.find("\r\n\r\n"));
  return header.find("=3D") != kNone || header.find("=3d") != kNone ||
         header.find("=\r\n") != kNone;
}

// Whether the message in a message/rfc822 part shows the marks of its part's transfer encoding.
bool IsReallyEncoded(TransferEncoding encoding, std::string_view message) {
  if (encoding == TransferEncoding::kQuotedPrintable) return HeaderIsQuotedPrintable(message);
  if (encoding != TransferEncoding::kBase64) return true;
  // A header has colons, base64 has none.
  const std::size_t start = std::min(message.find_first_not_of("\r\n"), message.size());
  return message.substr(start, message.find('\n', start) - start).find(':') == kNone;
}

constexpr std::string_view kMark = "\xEF\xBB\xBF";

// Without the byte order mark that some programs put in front of what they save: it would pass for
// a part of the first field's name.
ByteSlice WithoutMark(const ByteSlice& text) {
  return text.view().starts_with(kMark) ? text.Part(text.view().substr(kMark.size())) : text;
}

}  // namespace

// What the entities of one message share while it is loaded.
struct MimeMessage2::Context {
  ParseLog& log;
  int depth;
  std::size_t entitiesLeft;
};

void MimeMessage2::Load(const ByteSlice& text, Log& log, int depth) {
  Context context{log, depth, MimeLimits::kEntities};
  LoadRoot(text, NormaliseLineEnds(WithoutMark(text), log), context);
}

void MimeMessage2::LoadCrLf(const ByteSlice& text, Log& log) {
  Context context{log, 0, MimeLimits::kEntities};
  LoadRoot(text, WithoutMark(text), context);
}

void MimeMessage2::LoadRoot(const ByteSlice& given, const ByteSlice& text, Context& context) {
  constexpr std::size_t kUsualLines = 42;
  _rare.reset();
  if (text.data() != given.data()) {
    MakeRare().loaded = given;
    _rare->rewritten = true;
  }
  LoadMimeComplete2(text, context, kUsualLines);
}

// A text with two line feeds side by side gets CR LF throughout; so does one whose header ends in
// a mixture of line ends.
ByteSlice MimeMessage2::NormaliseLineEnds(const ByteSlice& text, Log& log) const {
  const std::string_view bytes = text.view();
  if (bytes.starts_with("\r\n")) return text;
  const bool doubleLf = Tessary::HasDoubleLineFeed(bytes);
  if (!doubleLf && !bytes.starts_with('\n') && !HeaderEndsInMixedLineEnds(bytes)) return text;
  if (doubleLf && bytes.find("\r\n\r\n") == std::string_view::npos) {
    log.Say("Double CRLF not found, but found double-LF");
    if (bytes.substr(0, bytes.find("\n\n")).find("\r\n") != std::string_view::npos) {
      log.Say("Also found CRLF.  The MIME contains a mixture of bare-LF's and CRLF's");
    }
  }
  log.Say("Converting all line endings to CRLF.");
  return ByteSlice::Adopt(ToCrLf(bytes));
}

void MimeMessage2::LoadMimeComplete2(const ByteSlice& text, Context& context,
                                     std::size_t usualLines) {
  const LogContext logContext(context.log, "LoadMimeComplete2");
  const std::string_view bytes = text.view();
  _text = text;
  _depth = context.depth;
  if (bytes.starts_with("\r\n")) {
    context.log.Say("MIME is missing initial header because it begins with CRLF");
    _header.Clear();
    _headerText = {};
    _separatorSize = 0;
    _body = bytes;
  } else {
    const std::size_t headerSize = _header.Load(bytes, usualLines);
    _headerText = bytes.substr(0, headerSize);
    const std::string_view rest = bytes.substr(headerSize);
    _separatorSize = rest.starts_with("\r\n") ? 2 : rest.starts_with('\n') ? 1 : 0;
    _body = rest.substr(_separatorSize);
  }
  ReadContentFields();
  SplitBody(context);
  if (!_children) FinishLeaf(context.log);
}

void MimeMessage2::ReadContentFields() {
  _contentType = ReadContentField(_header, "Content-Type", {});
  // Mail from before MIME was finished says no more than "text".
  if (ContentTypeIs("text") || ContentTypeIs("text/")) _contentType->SetValue("text/plain");
  const std::string_view charset = contentType().Get("charset");
  _disposition = ReadContentField(_header, "Content-Disposition", charset);
  _transferEncoding.reset();
  if (const MimeField* encoding = _header.Find("Content-Transfer-Encoding")) {
    std::string scratch;
    _transferEncoding =
        std::make_unique<std::string>(ContentField(encoding->Value(scratch)).value());
  }
  const std::string_view boundary = contentType().Get("boundary");
  _boundary = boundary.empty() ? nullptr : std::make_unique<std::string>(boundary);
}

void MimeMessage2::SplitBody(Context& context) {
  _children.reset();
  _beyondLimit = _binary = _contentFieldsChanged = false;
  if (!IsMultipart() || !_boundary) return;
  if (context.depth >= MimeLimits::kNesting || context.entitiesLeft < 2) {
    _beyondLimit = true;
    return;
  }
  auto split = Tessary::SplitMultipart(body(), *_boundary, context.entitiesLeft, context.log);
  *_boundary = std::move(split.boundary);
  if (!split.dropped.empty()) MakeRare().droppedParts = std::move(split.dropped);
  context.entitiesLeft -= std::min(context.entitiesLeft, split.parts.size());
  if (split.parts.empty()) return;
  _children = std::make_unique<Children>();
  _children->reserve(split.parts.size());
  ++context.depth;
  for (const std::string_view part : split.parts) {
    auto child = std::make_shared<MimeMessage2>();
    child->LoadMimeComplete2(_text.Part(part), context, kUsualPartLines);
    _children->push_back(std::move(child));
  }
  --context.depth;
}

void MimeMessage2::FinishLeaf(Log& log) {
  const bool byType = IsBinaryType(contentType().value());
  _binary = byType || EqualsIgnoreAsciiCase(disposition().value(), "attachment");
  if (byType) {
    log.Say("clearing charset based on content-type.");
    log.Say("treating body as binary (non-character) data.");
  } else if (_binary) {
    log.Say("treating body as binary data because of attachment status.");
  }
}

unsigned MimeMessage2::charset() const {
  const std::string_view name = charsetName();
  return name.empty() ? 0 : CharsetNaming::CodePageOfName(name).value_or(0);
}

std::string_view MimeMessage2::charsetName() const {
  return _binary ? std::string_view() : contentType().Get("charset");
}

bool MimeMessage2::IsMultipart() const {
  return StartsWithIgnoreAsciiCase(contentType().value(), "multipart");
}

bool MimeMessage2::ContentTypeIs(std::string_view type) const {
  return EqualsIgnoreAsciiCase(contentType().value(), type);
}

TransferEncoding MimeMessage2::EncodingToDecode() const {
  const TransferEncoding encoding = TransferEncodingFromName(transferEncoding());
  // A body that holds parts is never encoded itself, whatever its header says.
  if (encoding == TransferEncoding::kIdentity || _children) {
    return TransferEncoding::kIdentity;
  }
  const bool mislabelled = ContentTypeIs("message/rfc822") && !IsReallyEncoded(encoding, body());
  return mislabelled ? TransferEncoding::kIdentity : encoding;
}

ByteSlice MimeMessage2::DecodedBody() const {
  const TransferEncoding encoding = EncodingToDecode();
  const StageMark mark(Stage::kDecode, body().size());
  return encoding == TransferEncoding::kIdentity ? SerialiseBody()
                                                 : ByteSlice::Adopt(DecodeBody(encoding, body()));
}

// No encoding makes more of the bytes than they are.
std::size_t MimeMessage2::DecodedSizeAtMost() const {
  return EncodingToDecode() == TransferEncoding::kBase64 ? body().size() / 4 * 3 + 3
                                                         : body().size();
}

void MimeMessage2::DecodeBodyTo(ByteSink& sink) const {
  const StageMark mark(Stage::kDecode, body().size());
  Tessary::DecodeBodyTo(EncodingToDecode(), SerialiseBody().view(), sink);
}

// ---- Changes -----------------------------------------------------------------------------------

void MimeMessage2::SetField(std::string_view name, std::string_view value) {
  ForgetFacts();
  _header.Set(name, value);
  if (IsContentField(name)) ContentFieldsChanged();
}

void MimeMessage2::RewriteFields(std::span<const FieldChange> changes,
                                 std::shared_ptr<std::string> buffer,
                                 std::unique_ptr<const HeaderFacts> facts) {
  if (buffer == nullptr) buffer = std::make_shared<std::string>();
  _header.Rewrite(changes, *buffer);
  MakeRare().headerBytes = ByteSlice::Share(buffer, *buffer);
  _rare->facts = std::move(facts);
  _headerText = *buffer;
}

std::size_t MimeMessage2::RemoveField(std::string_view name) {
  ForgetFacts();
  const std::size_t removed = _header.Remove(name);
  if (removed > 0 && IsContentField(name)) ContentFieldsChanged();
  return removed;
}

// The body is not split anew, so parts keep the boundary they were found with.
void MimeMessage2::ContentFieldsChanged() {
  _contentFieldsChanged = true;
  auto boundary = std::move(_boundary);
  ReadContentFields();
  if (_children) _boundary = std::move(boundary);
  Log unread(Log::Keeping::kNothing);
  _binary = false;
  if (!_children) FinishLeaf(unread);
}

void MimeMessage2::ReplaceBody(ByteSlice body) {
  _body = body.view();
  MakeRare().newBody = std::move(body);
  _rare->bodyReplaced = true;
  _rare->droppedParts.clear();
  _children.reset();
}

bool MimeMessage2::IsBodyChanged() const {
  return IsBodyReplaced() || std::any_of(children().begin(), children().end(),
                                         [](const auto& child) { return child->IsChanged(); });
}

bool MimeMessage2::IsChanged() const {
  return _header.modified() || HasOwnHeader() || IsBodyChanged();
}

bool MimeMessage2::Settle() {
  if (!IsChanged()) return true;
  // What stands around the header must have been read as it would be read behind the new one: not
  // rewritten on the way in, and with an empty line in between. Then no line end changes its
  // meaning, and the fields that rule the body are those that it was split by.
  if ((_rare && _rare->rewritten) || _contentFieldsChanged || IsBodyChanged()) return false;
  if (_headerText.empty() || _separatorSize == 0 || _header.Lines().empty()) return false;
  if (_header.modified()) RewriteFields({});
  return _headerText.ends_with("\r\n") &&
         _headerText.size() + _separatorSize + _body.size() <= MimeLimits::kMessageBytes;
}

ByteSlice MimeMessage2::Serialise() const {
  const ByteSlice& loaded = Loaded();
  if (!IsChanged()) return loaded;
  std::string out;
  out.reserve(loaded.size() + loaded.size() / 64 + 1024);
  // A part's mark, which would stand in the middle of the message, is text of its header.
  if (_rare && _rare->rewritten && loaded.view().starts_with(kMark)) out.append(kMark);
  AppendTo(out);
  return ByteSlice::Adopt(std::move(out));
}

ByteSlice MimeMessage2::SerialiseBody() const {
  if (!IsBodyChanged() || IsBodyReplaced()) return bodySlice();
  std::string out;
  out.reserve(_body.size() + 1024);
  AppendBodyTo(out);
  return ByteSlice::Adopt(std::move(out));
}

void MimeMessage2::AppendTo(std::string& out) const {
  const std::size_t start = out.size();
  if (_header.modified()) {
    std::string header;
    _header.AppendTo(header);
    out.append(header);
  } else {
    out.append(_headerText);
  }
  // A body that began the message stays behind an empty line even when fields were added.
  const bool hasBody = !_body.empty() || IsBodyReplaced();
  if (_separatorSize > 0) {
    out.append(_separatorSize == 2 ? "\r\n" : "\n");
  } else if (hasBody && out.size() > start) {
    if (out.back() != '\n') out.append("\r\n");
    out.append("\r\n");
  }
  AppendBodyTo(out);
}

// What stands between and around the children (preamble, delimiters, epilogue) is kept as loaded.
void MimeMessage2::AppendBodyTo(std::string& out) const {
  std::size_t done = 0;
  for (const auto& child : children()) {
    const std::string_view loaded = child->_text.view();
    const auto start = static_cast<std::size_t>(loaded.data() - _body.data());
    out.append(_body.substr(done, start - done));
    child->AppendTo(out);
    done = start + loaded.size();
  }
  out.append(_body.substr(done));
}

}  // namespace Tessary
