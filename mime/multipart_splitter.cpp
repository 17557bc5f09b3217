#include "mime/multipart_splitter.h"

#include <algorithm>

#include "platform/text.h"

namespace Tessary {
namespace {

constexpr auto kNone = std::string_view::npos;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

bool HoldsText(std::string_view bytes) {
  return !std::all_of(bytes.begin(), bytes.end(), parvane::platform::IsAsciiWhiteSpace);
}

// Characters a boundary may hold (RFC 2046, 5.1.1), so that one that goes on is another one.
bool IsBoundaryCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
         std::string_view("'()+_,-./:=?").find(c) != kNone;
}

enum class LineEnd { kCrLf, kLf, kEndOfBody };

struct Delimiter {
  std::size_t start = kNone;  // of "--"
  std::size_t end = kNone;    // behind its line end, or behind the "--" that closes
  bool closing = false;
  bool padded = false;  // white space before the line end
  LineEnd lineEnd = LineEnd::kCrLf;
  bool found() const { return start != kNone; }
};

class DelimiterScanner {
 public:
  DelimiterScanner(std::string_view body, const std::string& boundary)
      : _body(body), _needle("--" + boundary) {}

  // The next delimiter that begins at or after `from`.
  Delimiter Next(std::size_t from) const {
    while (true) {
      const std::size_t at = FindNeedle(from);
      if (at == kNone) return {};
      const Delimiter found = Inspect(at);
      if (found.found() && !EndsLongerDelimiter(at)) return found;
      from = at + 1;
    }
  }

  Delimiter NextOpening(std::size_t from) const {
    Delimiter found = Next(from);
    while (found.found() && found.closing) found = Next(found.end);
    return found;
  }

 private:
  // A boundary far longer than the 70 characters that the standard allows is looked for at the
  // start of lines only: there each byte is compared once, whatever the text was built for.
  std::size_t FindNeedle(std::size_t from) const {
    constexpr std::size_t kLongBoundary = 256;
    if (_needle.size() <= kLongBoundary) return FindBytes(_body, _needle, from);
    while (true) {
      if (from == 0 || (from <= _body.size() && _body[from - 1] == '\n')) {
        if (_body.substr(from).starts_with(_needle)) return from;
      }
      const std::size_t line = _body.find('\n', from);
      if (line == kNone) return kNone;
      from = line + 1;
    }
  }

  Delimiter Inspect(std::size_t at) const {
    std::size_t end = at + _needle.size();
    if (_body.substr(end, 2) == "--" &&
        (end + 2 == _body.size() || !IsBoundaryCharacter(_body[end + 2]))) {
      return {at, end + 2, true, false, LineEnd::kCrLf};
    }
    const std::size_t word = end;
    while (end < _body.size() && IsBlank(_body[end])) ++end;
    const bool padded = end > word;
    if (end == _body.size()) return {at, end, false, padded, LineEnd::kEndOfBody};
    if (_body[end] == '\n') return {at, end + 1, false, padded, LineEnd::kLf};
    if (_body.substr(end, 2) == "\r\n") return {at, end + 2, false, padded, LineEnd::kCrLf};
    return {};
  }

  // True when the line of a match in mid-line begins with "--". Delimiter lines are short, so only
  // so much is looked at, and many matches on one long line stay cheap.
  bool EndsLongerDelimiter(std::size_t at) const {
    constexpr std::size_t kLongestDelimiter = 256;
    const std::size_t first = at > kLongestDelimiter ? at - kLongestDelimiter : 0;
    std::size_t line = at;
    while (line > first && _body[line - 1] != '\n') --line;
    if (line == at) return false;
    return (line == 0 || _body[line - 1] == '\n') && _body.substr(line, 2) == "--";
  }

  std::string_view _body;
  std::string _needle;
};

struct Forms {
  bool crLf = false;
  bool lf = false;
  bool lenient = false;  // only with white space behind it, or at the very end
};

// Which forms of the delimiter the body holds; the first CR LF form settles it.
Forms FindForms(const DelimiterScanner& scanner) {
  Forms forms;
  for (Delimiter at = scanner.NextOpening(0); at.found(); at = scanner.NextOpening(at.end)) {
    if (!at.padded && at.lineEnd == LineEnd::kCrLf) {
      forms.crLf = true;
      return forms;
    }
    if (!at.padded && at.lineEnd == LineEnd::kLf) {
      forms.lf = true;
    } else {
      forms.lenient = true;
    }
  }
  return forms;
}

bool HasExactForm(std::string_view body, const std::string& boundary) {
  const Forms forms = FindForms(DelimiterScanner(body, boundary));
  return forms.crLf || forms.lf;
}

std::string WithAlternativeSpace(std::string boundary) {
  constexpr std::string_view kMark = "=_alternative";
  for (std::size_t at = boundary.find(kMark); at != std::string::npos;
       at = boundary.find(kMark, at)) {
    at += kMark.size();
    boundary.insert(at, 1, ' ');
  }
  return boundary;
}

// What the boundary of an entity becomes when it was found by way of the ANSI code page only.
std::string ReplaceHighBytes(std::string boundary) {
  for (char& c : boundary) {
    const unsigned byte = static_cast<unsigned char>(c);
    if (byte > 128) c = static_cast<char>(std::clamp((byte - 128) % 256, 48U, 122U));
  }
  return boundary;
}

// Chooses the form to search for: what stands in the body, and what the entity's boundary becomes.
struct Choice {
  bool found = false;
  std::string search;
  std::string boundary;
};

Choice ChooseForm(std::string_view body, const std::string& boundary, ParseLog& log) {
  const Forms forms = FindForms(DelimiterScanner(body, boundary));
  if (forms.crLf) return {true, boundary, boundary};
  log.Say("Did not find boundary ending in CRLF, re-checking for bare-LF...");
  if (forms.lf) return {true, boundary, boundary};
  log.Say("Still did not find boundary...");
  if (boundary.find("=_alternative") != std::string::npos) {
    std::string spaced = WithAlternativeSpace(boundary);
    if (HasExactForm(body, spaced)) return {true, spaced, spaced};
  }
  if (!parvane::platform::IsAscii(boundary)) {
    log.Say("Still looking for the boundary: Searching using ANSI instead...");
    std::string ansi = parvane::platform::Utf16ToAnsi(parvane::platform::Utf8ToUtf16(boundary));
    if (HasExactForm(body, ansi)) return {true, ansi, ReplaceHighBytes(boundary)};
  }
  if (forms.lenient) return {true, boundary, boundary};
  // A boundary cannot end in white space; a quoted one that does was padded by a mailer.
  std::string trimmed = boundary;
  while (!trimmed.empty() && IsBlank(trimmed.back())) trimmed.pop_back();
  if (!trimmed.empty() && trimmed != boundary && HasExactForm(body, trimmed)) {
    return {true, trimmed, trimmed};
  }
  return {};
}

class PartCollector {
 public:
  PartCollector(std::string_view body, std::size_t maxParts, MultipartSplit& out)
      : _body(body), _maxParts(maxParts), _out(out) {}

  // Cuts between delimiters until a closing one, or none, follows.
  void Collect(const DelimiterScanner& scanner) {
    std::size_t start = scanner.NextOpening(0).end;
    while (true) {
      if (_out.parts.size() + 1 >= _maxParts) return Add(start, _body.size());
      Delimiter next = scanner.Next(start);
      if (!next.found()) return Add(start, _body.size());
      if (next.closing) {
        const Delimiter more = scanner.NextOpening(next.end);
        if (!more.found()) return Add(start, WithoutLineBreak(start, next.start));
        // Parts behind a closing delimiter: some mailers use one boundary for two levels. What
        // stands between the two is kept with the part, if it is anything.
        const std::string_view between = _body.substr(next.end, more.start - next.end);
        if (HoldsText(between)) next.start = more.start;
        next.end = more.end;
      }
      Add(start, WithoutLineBreak(start, next.start));
      start = next.end;
    }
  }

 private:
  // `end` moved in front of the line break that belongs to the delimiter there.
  std::size_t WithoutLineBreak(std::size_t start, std::size_t end) const {
    if (end > start && _body[end - 1] == '\n') --end;
    if (end > start && _body[end] == '\n' && _body[end - 1] == '\r') --end;
    return end;
  }

  void Add(std::size_t start, std::size_t end) {
    const std::string_view part = _body.substr(start, end - start);
    if (part.size() > kSmallestPart) {
      _out.parts.push_back(part);
    } else if (HoldsText(part)) {
      _out.dropped.push_back(part);
    }
  }

  std::string_view _body;
  std::size_t _maxParts;
  MultipartSplit& _out;
};

}  // namespace

MultipartSplit SplitMultipart(std::string_view body, const std::string& boundary,
                              std::size_t maxParts, ParseLog& log) {
  MultipartSplit split;
  log.Data("findBoundary", "--" + boundary);
  const Choice choice = ChooseForm(body, boundary, log);
  if (!choice.found) {
    log.Say("No boundary found -- loading the body with all that follows.");
    split.boundary = boundary;
    return split;
  }
  log.Say("The boundary string was found, continuing to parse MIME...");
  split.found = true;
  split.boundary = choice.boundary;
  PartCollector(body, maxParts, split).Collect(DelimiterScanner(body, choice.search));
  return split;
}

}  // namespace Tessary
