#include "mime/encoded_words.h"

#include <cstring>
#include <utility>

#include "mime/content_coding.h"
#include "platform/text.h"

namespace Tessary {
namespace {

// Behind the encoded word that begins at `start`, or npos when none does: "=?", three question
// marks' worth of anything but white space, "=".
std::size_t EndOfWord(std::string_view text, std::size_t start) {
  int marks = 0;
  for (std::size_t at = start + 2; at < text.size(); ++at) {
    // Words with spaces in their text are met, though they should not be.
    if (text[at] == '\r' || text[at] == '\n') break;
    if (text[at] != '?') continue;
    if (++marks == 3) return text.substr(at + 1, 1) == "=" ? at + 2 : std::string_view::npos;
  }
  return std::string_view::npos;
}

// In place, since a header may fill a large message: what is kept moves to the front.
void DropSpaceBetweenWords(std::string& kept) {
  const std::string_view text = kept;
  std::size_t size = 0;
  const auto keep = [&](std::size_t from, std::size_t to) {
    std::memmove(kept.data() + size, kept.data() + from, to - from);
    size += to - from;
  };
  std::size_t done = 0;
  std::size_t lastEnd = std::string_view::npos;  // behind the word before
  for (std::size_t at = text.find("=?"); at != std::string_view::npos; at = text.find("=?", at)) {
    const std::size_t end = EndOfWord(text, at);
    if (end == std::string_view::npos) {
      at += 2;
      continue;
    }
    const bool adjacent =
        lastEnd != std::string_view::npos &&
        text.substr(lastEnd, at - lastEnd).find_first_not_of(" \t\r\n") == std::string_view::npos;
    if (!adjacent) keep(done, at);
    keep(at, end);
    done = lastEnd = at = end;
  }
  keep(done, text.size());
  kept.resize(size);
}

}  // namespace

std::string DecodeHeaderText(std::string text, std::string_view charset) {
  if (ContentCoding::HasEncodedWords(text)) DropSpaceBetweenWords(text);
  return ContentCoding::DecodeHeader(text, charset);
}

std::u16string DecodeEncodedWords(std::u16string_view text) {
  if (text.find(u"=?") == std::u16string_view::npos) return std::u16string(text);
  std::string utf8 = parvane::platform::Utf16ToUtf8(text);
  if (!ContentCoding::HasEncodedWords(utf8)) return std::u16string(text);
  return parvane::platform::Utf8ToUtf16(DecodeHeaderText(std::move(utf8), "utf-8"));
}

}  // namespace Tessary
