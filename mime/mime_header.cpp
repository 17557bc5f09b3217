#include "mime/mime_header.h"

#include <algorithm>
#include <cstring>

#include "platform/simd/scan.h"
#include "platform/text.h"

namespace Tessary {
namespace {

using parvane::platform::EqualsIgnoreAsciiCase;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

bool IsEmptyLine(std::string_view line) { return line == "\r\n" || line == "\n"; }

// The text without a CR LF, LF or CR at its end.
std::string_view WithoutLineEnd(std::string_view text) {
  if (text.ends_with('\n')) text.remove_suffix(1);
  if (text.ends_with('\r')) text.remove_suffix(1);
  return text;
}

// Where the word that begins at `from` ends: in front of white space, or with the text.
std::size_t WordEnd(std::string_view text, std::size_t from) {
  std::size_t end = from;
  while (true) {
    end += parvane::platform::simd::FindBlank(text.data() + end, text.size() - end);
    if (end == text.size() || parvane::platform::IsAsciiWhiteSpace(text[end])) return end;
    ++end;  // another control character
  }
}

// How long the name at the start of `line` is, up to its colon; 0 when this line is no field.
// White space between name and colon is an obsolete form and not part of the name.
std::size_t FieldNameLength(std::string_view line, std::size_t* colon) {
  const std::size_t length = parvane::platform::simd::FindHeaderNameEnd(line.data(), line.size());
  std::size_t end = length;
  while (end < line.size() && IsBlank(line[end])) ++end;
  *colon = end;
  return end < line.size() && line[end] == ':' ? length : 0;
}

// Which of the changes is the line's; their number when none is.
std::size_t ChangeOf(const MimeField& line, std::span<const FieldChange> changes) {
  std::size_t index = 0;
  while (index < changes.size() && !EqualsIgnoreAsciiCase(line.Name(), changes[index].name)) {
    ++index;
  }
  return index;
}

// Lines that stay as they are mostly stand side by side, and are copied together.
class LineRuns {
 public:
  explicit LineRuns(std::string& text) : _text(text) {}

  // Where the line will be once it has been copied. The text has room for it.
  const char* Add(std::string_view line) {
    if (line.data() != _end) {
      Copy();
      _begin = line.data();
      _copy = _text.data() + _text.size();
    }
    _end = line.data() + line.size();
    return _copy + (line.data() - _begin);
  }
  void Copy() {
    if (_begin != _end) _text.append(_begin, _end);
    _begin = _end = nullptr;
  }

 private:
  std::string& _text;
  const char* _begin = nullptr;  // of what has not been copied yet
  const char* _end = nullptr;
  const char* _copy = nullptr;  // where it will be
};

}  // namespace

std::string_view MimeField::RawValue() const { return WithoutLineEnd(Raw().substr(_valueStart)); }

std::string_view MimeField::Value(std::string& scratch) const {
  return Unfold(RawValue(), scratch);
}

std::string_view Unfold(std::string_view value, std::string& scratch) {
  const auto lineEndFrom = [value](std::size_t from) {
    return from + parvane::platform::simd::FindLineEnd(value.data() + from, value.size() - from);
  };
  std::size_t at = lineEndFrom(0);
  if (at == value.size()) return value;
  scratch.clear();
  scratch.reserve(value.size());
  std::size_t copied = 0;
  while (at < value.size()) {
    std::size_t next = at + 1;
    if (value[at] == '\r' && next < value.size() && value[next] == '\n') ++next;
    if (next < value.size() && IsBlank(value[next])) {
      scratch.append(value, copied, at - copied);
      copied = next;
    } else {
      next = at + 1;
    }
    at = lineEndFrom(next);
  }
  return scratch.append(value, copied);
}

inline void MimeHeader::AddLine(std::string_view raw, std::size_t nameLength,
                                std::size_t valueStart, FirstPlaces& firstPlaces) {
  const MimeField& line = _lines.emplace_back(raw, nameLength, valueStart);
  if (!line.IsField()) return;
  const std::uint32_t slot = NameSlot(line._key);
  if ((_names >> slot & 1) != 0) return;
  _names |= std::uint64_t{1} << slot;
  firstPlaces.of[slot] = static_cast<std::uint32_t>(_lines.size() - 1);
}

std::size_t MimeHeader::Load(std::string_view text, std::size_t usualLines) {
  Clear();
  _lines.reserve(usualLines);
  FirstPlaces firstPlaces;
  parvane::platform::simd::LineFeeds lineFeeds(text.data(), text.size());
  const auto nextLine = [&] { return std::min(lineFeeds.Next() + 1, text.size()); };
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t start = at;
    at = nextLine();
    const std::string_view line = text.substr(start, at - start);
    if (line.size() <= 2 && IsEmptyLine(line)) {
      at = start;
      break;
    }
    while (at < text.size() && IsBlank(text[at])) at = nextLine();
    std::size_t valueStart = 0;
    const std::size_t nameLength = FieldNameLength(line, &valueStart);
    if (nameLength > 0) {
      ++valueStart;
      if (valueStart < line.size() && line[valueStart] == ' ') ++valueStart;
    }
    AddLine(text.substr(start, at - start), nameLength, nameLength > 0 ? valueStart : 0,
            firstPlaces);
  }
  constexpr std::size_t kFewLines = 8;
  if (_lines.size() > kFewLines) _firstPlaces = std::make_unique<const FirstPlaces>(firstPlaces);
  return at;
}

void MimeHeader::Clear() {
  _lines.clear();
  _rewritten.clear();
  _names = 0;
  _modified = false;
  ForgetPlaces();
}

const std::vector<std::uint32_t>& MimeHeader::Order() const {
  if (!_order) {
    std::vector<std::uint32_t> order;
    for (std::size_t i = 0; i < _lines.size(); ++i) {
      if (_lines[i].IsField()) order.push_back(static_cast<std::uint32_t>(i));
    }
    _order = std::make_unique<const std::vector<std::uint32_t>>(std::move(order));
  }
  return *_order;
}

const MimeField* MimeHeader::Find(std::string_view name, std::size_t occurrence) const {
  const std::uint32_t key = MimeField::KeyOf(name);
  const std::uint32_t slot = NameSlot(key);
  if ((_names >> slot & 1) == 0) return nullptr;
  for (std::size_t i = FirstPlace(slot); i < _lines.size(); ++i) {
    if (_lines[i].NameIs(name, key) && occurrence-- == 0) return &_lines[i];
  }
  return nullptr;
}

void MimeHeader::Set(std::string_view name, std::string_view value) {
  const std::string& text = _rewritten.emplace_front(FoldField(name, value));
  const std::size_t valueStart = std::min(name.size() + 2, text.size());
  const MimeField field(text, name.size(), valueStart);
  _modified = true;
  ForgetPlaces();
  _names |= NameBit(MimeField::KeyOf(name));
  const auto named = [&](const MimeField& line) { return line.NameIs(name); };
  const auto first = std::find_if(_lines.begin(), _lines.end(), named);
  if (first == _lines.end()) {
    _lines.push_back(field);
    return;
  }
  *first = field;
  _lines.erase(std::remove_if(first + 1, _lines.end(), named), _lines.end());
}

std::size_t MimeHeader::Remove(std::string_view name) {
  const std::size_t removed =
      name.empty() ? 0 : std::erase_if(_lines, [&](const MimeField& f) { return f.NameIs(name); });
  if (removed > 0) {
    _modified = true;
    ForgetPlaces();
  }
  return removed;
}

void MimeHeader::AppendTo(std::string& out) const {
  for (const MimeField& line : _lines) {
    // The last line of a message that is all header may lack its end.
    if (!out.empty() && out.back() != '\n') out.append("\r\n");
    out.append(line.Raw());
  }
  if (!_lines.empty() && out.back() != '\n') out.append("\r\n");
}

// Enough, whatever is folded: the lines look into the text while it is being written.
std::size_t MimeHeader::RewrittenBound(std::span<const FieldChange> changes) const {
  std::size_t bound = 0;
  for (const MimeField& line : _lines) bound += line._length + 2;
  for (const FieldChange& change : changes) {
    bound += change.name.size() + 3 * change.value.size() + 8;
  }
  return bound;
}

void MimeHeader::Rewrite(std::span<const FieldChange> changes, std::string& text) {
  text.clear();
  text.reserve(RewrittenBound(changes));
  std::uint64_t names = 0;
  for (const FieldChange& change : changes) names |= NameBit(MimeField::KeyOf(change.name));

  std::uint64_t done = 0;  // a bit for each change that has been written
  std::size_t kept = 0;
  LineRuns unchanged(text);
  for (std::size_t i = 0; i < _lines.size(); ++i) {
    const MimeField& line = _lines[i];
    const bool mayChange = (NameBit(line._key) & names) != 0 && line.IsField();
    const std::size_t index = mayChange ? ChangeOf(line, changes) : changes.size();
    if (index == changes.size()) {
      const std::string_view raw = line.Raw();
      MimeField& moved = _lines[kept];
      if (kept++ < i) moved = line;
      moved._raw = unchanged.Add(raw);
      if (!raw.ends_with('\n')) {
        unchanged.Copy();
        text.append("\r\n");
        moved._length += 2;
      }
    } else if ((done >> index & 1) == 0) {
      done |= std::uint64_t{1} << index;
      unchanged.Copy();
      const std::size_t start = text.size();
      const FieldChange& change = changes[index];
      AppendFoldedField(change.name, change.value, text);
      _lines[kept++] = MimeField(std::string_view(text).substr(start), change.name.size(),
                                 change.name.size() + 2);
    }
  }
  unchanged.Copy();
  if (kept < _lines.size()) {
    _lines.erase(_lines.begin() + static_cast<std::ptrdiff_t>(kept), _lines.end());
    ForgetPlaces();
  }
  _rewritten.clear();
  _modified = false;
}

std::string FoldField(std::string_view name, std::string_view value) {
  std::string out;
  AppendFoldedField(name, value, out);
  return out;
}

void AppendFoldedField(std::string_view name, std::string_view value, std::string& out) {
  constexpr std::size_t kColumns = 78;
  const std::size_t valueColumn = name.size() + 2;
  out.append(name).append(": ");
  const auto isLineEnd = [](char c) { return c == '\r' || c == '\n'; };
  if (valueColumn + value.size() <= kColumns &&
      parvane::platform::simd::FindLineEnd(value.data(), value.size()) == value.size()) {
    out.append(value).append("\r\n");
    return;
  }
  std::size_t column = valueColumn;
  std::size_t at = 0;
  std::string filtered;
  while (at < value.size()) {
    // One word with the white space in front of it.
    std::size_t end = at;
    bool lineEnd = false;
    while (end < value.size() && parvane::platform::IsAsciiWhiteSpace(value[end])) {
      lineEnd |= isLineEnd(value[end]);
      ++end;
    }
    std::string_view blanks = value.substr(at, end - at);
    if (lineEnd) {
      filtered = blanks;
      std::erase_if(filtered, isLineEnd);
      blanks = filtered.empty() ? std::string_view(" ") : std::string_view(filtered);
    }
    at = end;
    end = WordEnd(value, end);
    const std::string_view word = value.substr(at, end - at);
    at = end;
    const bool fits = column + blanks.size() + word.size() <= kColumns;
    // White space at the end of a value is no place to fold: the next line would be blank.
    if (!fits && !blanks.empty() && !word.empty() && column > valueColumn) {
      out.append("\r\n");
      column = 0;
      if (!IsBlank(blanks.front())) {
        out.push_back(' ');
        ++column;
      }
    }
    out.append(blanks).append(word);
    column += blanks.size() + word.size();
  }
  out.append("\r\n");
}

}  // namespace Tessary
