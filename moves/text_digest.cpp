#include "moves/text_digest.h"

#include <algorithm>

#include "platform/code_pages/code_page.h"
#include "platform/text.h"

namespace parvane::moves {
namespace {

constexpr std::size_t kPiece = 32'768;

// What Squeeze has to know of the text before a piece.
struct Blanks {
  bool any = false;
  bool due = false;
};

void Squeeze(std::u16string_view text, Blanks& blanks, std::u16string& out) {
  const std::size_t before = out.size();
  // No longer than it was, but for a blank that was due.
  out.resize(before + text.size() + 1);
  char16_t* to = out.data() + before;
  for (const char16_t unit : text) {
    // Most units are neither.
    if ((unit <= 0x20 || unit >= 0x85) && platform::IsWhiteSpace(unit)) {
      blanks.due = blanks.any;
    } else if (unit != 0 && unit != 0xFEFF) {
      if (blanks.due) *to++ = u' ';
      blanks = {true, false};
      *to++ = unit;
    }
  }
  out.resize(static_cast<std::size_t>(to - out.data()));
}

bool IsNameCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
         c == '_' || c == '.' || c == ':' || c == '"' || c == '\'';
}

// <meta ... charset=NAME>: who stores the page in another encoding changes it, or does not. It
// stands in the page's head.
std::string WithoutCharset(std::string_view bytes) {
  constexpr std::string_view kName = "charset=";
  constexpr std::size_t kHead = 65'536;
  std::string out;
  out.reserve(bytes.size());
  const std::string head = platform::ToLowerAscii(bytes.substr(0, kHead));
  std::size_t from = 0;
  for (std::size_t at = head.find(kName); at != head.npos; at = head.find(kName, from)) {
    std::size_t end = at + kName.size();
    out.append(bytes.substr(from, end - from));
    while (end < head.size() && IsNameCharacter(head[end])) ++end;
    from = end;
  }
  return out.append(bytes.substr(from));
}

}  // namespace

void TextDigest::Take(std::u16string_view text) {
  Blanks blanks{_any, _blank};
  while (!text.empty()) {
    Squeeze(text.substr(0, kPiece), blanks, _kept);
    text.remove_prefix(std::min(text.size(), kPiece));
    Flush(false);
  }
  _any = blanks.any;
  _blank = blanks.due;
}

// Half of a pair waits for the other.
void TextDigest::Flush(bool all) {
  std::size_t size = _kept.size();
  if (!all && size > 0 && (_kept[size - 1] & 0xFC00) == 0xD800) --size;
  _hash.Update(platform::Utf16ToUtf8(std::u16string_view(_kept).substr(0, size)));
  _kept.erase(0, size);
}

std::optional<platform::Sha256Digest> TextDigest::Finish() {
  Flush(true);
  const bool any = _any;
  _any = _blank = false;
  const platform::Sha256Digest digest = _hash.Finish();
  return any ? std::optional(digest) : std::nullopt;
}

std::u16string Squeezed(std::u16string_view text) {
  Blanks blanks;
  std::u16string out;
  Squeeze(text, blanks, out);
  return out;
}

std::optional<platform::Sha256Digest> DigestOfHtml(std::string_view bytes, unsigned codePage) {
  TextDigest digest;
  const bool wide =
      codePage == platform::kCodePageUtf16Le || codePage == platform::kCodePageUtf16Be;
  // Many say another code page than they are written in.
  if (!wide && platform::IsValidUtf8(bytes)) codePage = platform::kCodePageUtf8;
  const std::string page = wide ? std::string(bytes) : WithoutCharset(bytes);
  platform::DecodeInPieces(codePage, page, [&](std::u16string_view text) { digest.Take(text); });
  return digest.Finish();
}

}  // namespace parvane::moves
