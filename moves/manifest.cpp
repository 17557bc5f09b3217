#include "moves/manifest.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <span>

#include "platform/path.h"
#include "platform/text.h"
#include "platform/time.h"

namespace parvane::moves {
namespace {

using platform::Result;
using platform::Sha256Digest;
using platform::Status;
using platform::StatusCode;

constexpr std::string_view kFirstLine = "# parvane manifest 1";
constexpr std::string_view kNothing = "-";
constexpr std::string_view kEnd = "# end of ";
constexpr std::size_t kFields = 10;  // before the attachments
constexpr std::size_t kPiece = 65'536;
// A message has at most some tens of thousands of attachments.
constexpr std::size_t kLongestLine = 64 << 20;

// ---- Writing ------------------------------------------------------------------------------------

std::string Hex(std::span<const std::byte> bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string hex;
  for (const std::byte byte : bytes) {
    hex += kDigits[std::to_integer<unsigned>(byte) >> 4];
    hex += kDigits[std::to_integer<unsigned>(byte) & 15];
  }
  return hex;
}

std::string HexOrNothing(const std::optional<Sha256Digest>& digest) {
  return digest ? Hex(*digest) : std::string(kNothing);
}

// `also`: one more character that is not to be met.
std::string Escaped(std::string_view text, char also = '\\') {
  std::string out;
  for (const char c : text) {
    const char* sign = c == '\t' ? "\\t" : c == '\n' ? "\\n" : c == '\r' ? "\\r" : nullptr;
    if (sign) {
      out += sign;
    } else {
      if (c == '\\' || c == also) out += '\\';
      out += c;
    }
  }
  return out;
}

std::string TextOrNothing(std::string_view text) {
  // One that is no more than the sign for none is told apart from it.
  if (text == kNothing) return "\\-";
  return text.empty() ? std::string(kNothing) : Escaped(text);
}

std::string Time(std::uint64_t seconds) {
  platform::SystemTime time;
  // Nobody's mail is from the year 30828.
  if (seconds == 0 || seconds > UINT64_MAX / platform::kTicksPerSecond ||
      !platform::FileTimeToSystemTime(
          platform::FileTimeFromTicks(seconds * platform::kTicksPerSecond), &time)) {
    return std::string(kNothing);
  }
  char text[40];
  std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02uZ", time.wYear, time.wMonth,
                time.wDay, time.wHour, time.wMinute, time.wSecond);
  return text;
}

// ---- Reading ------------------------------------------------------------------------------------

int DigitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

bool ReadHex(std::string_view hex, std::span<std::byte> bytes) {
  if (hex.size() != 2 * bytes.size()) return false;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const int high = DigitOf(hex[2 * i]), low = DigitOf(hex[2 * i + 1]);
    if (high < 0 || low < 0) return false;
    bytes[i] = std::byte(high << 4 | low);
  }
  return true;
}

template <typename Bytes>
bool ReadHex(std::string_view hex, std::optional<Bytes>& bytes) {
  bytes.reset();
  return hex == kNothing || ReadHex(hex, std::span<std::byte>(bytes.emplace()));
}

std::string Unescaped(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      out += text[i];
    } else {
      const char c = text[++i];
      out += c == 't' ? '\t' : c == 'n' ? '\n' : c == 'r' ? '\r' : c;
    }
  }
  return out;
}

std::string TextOf(std::string_view field) {
  return field == kNothing ? std::string() : Unescaped(field);
}

std::vector<std::u16string> Folder(std::string_view text) {
  std::vector<std::u16string> path;
  std::size_t begin = 0;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    if (i < text.size() && text[i] == '\\') {
      ++i;
    } else if (i >= text.size() || text[i] == '/') {
      path.push_back(platform::Utf8ToUtf16(Unescaped(text.substr(begin, i - begin))));
      begin = i + 1;
    }
  }
  return path;
}

bool ReadTime(std::string_view text, std::uint64_t& seconds) {
  seconds = 0;
  if (text == kNothing) return true;
  platform::SystemTime time;
  platform::FileTime ticks;
  std::uint16_t* const parts[] = {&time.wYear, &time.wMonth,  &time.wDay,
                                  &time.wHour, &time.wMinute, &time.wSecond};
  constexpr std::string_view kBehind = "--T::Z";
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::size_t i = 0; i < kBehind.size(); ++i) {
    const auto read = std::from_chars(at, end, *parts[i]);
    if (read.ec != std::errc() || read.ptr == end || *read.ptr != kBehind[i]) return false;
    at = read.ptr + 1;
  }
  if (at != end || !platform::SystemTimeToFileTime(time, &ticks)) return false;
  seconds = platform::FileTimeTicks(ticks) / platform::kTicksPerSecond;
  return true;
}

std::vector<std::string_view> Fields(std::string_view line) {
  std::vector<std::string_view> fields;
  for (;;) {
    const std::size_t end = std::min(line.find('\t'), line.size());
    fields.push_back(line.substr(0, end));
    if (end == line.size()) return fields;
    line.remove_prefix(end + 1);
  }
}

bool ReadAttachment(std::string_view field, AttachmentContent& attachment) {
  const std::size_t blank = field.find(' ');
  if (blank == field.npos || !ReadHex(field.substr(0, blank), attachment.digest)) return false;
  attachment.name = Unescaped(field.substr(blank + 1));
  return true;
}

bool ReadLine(std::string_view line, std::vector<std::u16string>& folder, MessageContent& content) {
  const std::vector<std::string_view> fields = Fields(line);
  if (fields.size() < kFields) return false;
  content = {};
  folder = Folder(fields[1]);
  content.messageId = TextOf(fields[2]);
  content.subject = TextOf(fields[3]);
  bool good = ReadHex(fields[0], content.key) && ReadTime(fields[4], content.sent) &&
              ReadTime(fields[5], content.delivered) && ReadHex(fields[6], content.originator) &&
              ReadHex(fields[7], content.recipients) && ReadHex(fields[8], content.text) &&
              ReadHex(fields[9], content.html);
  for (std::size_t i = kFields; good && i < fields.size(); ++i)
    good = ReadAttachment(fields[i], content.attachments.emplace_back());
  return good;
}

}  // namespace

std::string ManifestBeginning() {
  return std::string(kFirstLine) +
         "\n# "
         "key\tfolder\tMessage-ID\tsubject\tsent\tdelivered\toriginator\trecipients\ttext\thtml\t"
         "attachments\n";
}

std::string ManifestLine(const std::vector<std::u16string>& folder, const MessageContent& content) {
  std::string line = content.key ? Hex(*content.key) : std::string(kNothing);
  line += '\t';
  for (std::size_t i = 0; i < folder.size(); ++i)
    line.append(i == 0 ? "" : "/").append(Escaped(platform::Utf16ToUtf8(folder[i]), '/'));
  for (const std::string& field :
       {TextOrNothing(content.messageId), TextOrNothing(content.subject), Time(content.sent),
        Time(content.delivered), Hex(content.originator), Hex(content.recipients),
        HexOrNothing(content.text), HexOrNothing(content.html)}) {
    line.append("\t").append(field);
  }
  for (const AttachmentContent& attachment : content.attachments)
    line.append("\t").append(Hex(attachment.digest)).append(" ").append(Escaped(attachment.name));
  return line += '\n';
}

std::string ManifestEnd(std::uint64_t messages) {
  return std::string(kEnd) + std::to_string(messages) + " messages\n";
}

bool IsManifest(platform::FileSystem& files, std::u16string_view path) {
  if (!files.FileExists(path)) return false;
  auto file = files.Open(path, platform::FileSystem::OpenMode::kRead);
  std::string start(kFirstLine.size(), '\0');
  if (!file.ok()) return false;
  const auto read = (*file)->ReadAt(0, std::as_writable_bytes(std::span(start)));
  return read.ok() && *read == start.size() && start == kFirstLine;
}

Result<ManifestReader> ManifestReader::Open(platform::FileSystem& files, std::u16string_view path) {
  ManifestReader reader;
  reader._path = platform::PathForDisplay(path);
  auto file = files.Open(path, platform::FileSystem::OpenMode::kRead);
  if (!file.ok()) return file.status();
  reader._file = std::move(file).value();
  auto size = reader._file->Size();
  if (!size.ok()) return size.status();
  reader._size = *size;
  return reader;
}

Status ManifestReader::Fault(std::string_view what) const {
  return {StatusCode::kCorrupt,
          _path + ": line " + std::to_string(_lines) + " " + std::string(what)};
}

Result<bool> ManifestReader::NextLine(std::string& line) {
  ++_lines;
  std::size_t searched = 0;
  for (;;) {
    const std::size_t end = _buffer.find('\n', _at + searched);
    if (end != _buffer.npos) {
      line.assign(_buffer, _at, end - _at);
      _at = end + 1;
      if (line.ends_with('\r')) line.pop_back();
      return true;
    }
    _buffer.erase(0, _at);
    _at = 0;
    searched = _buffer.size();
    if (searched > kLongestLine) return Fault("is too long");
    _buffer.resize(searched + kPiece);
    const auto read = _file->ReadAt(
        _position, std::as_writable_bytes(std::span(_buffer).subspan(searched, kPiece)));
    if (!read.ok()) return read.status();
    _position += *read;
    _buffer.resize(searched + *read);
    if (*read == 0) return false;
  }
}

Result<bool> ManifestReader::Next(std::vector<std::u16string>& folder, MessageContent& content) {
  std::string line;
  for (;;) {
    auto read = NextLine(line);
    if (!read.ok()) return read.status();
    if (!*read) return _ended ? Result<bool>(false) : Fault("should tell how it ends: it is cut");
    if (line.starts_with('#')) {
      if (line.starts_with(kEnd)) _ended = line + "\n" == ManifestEnd(_messages);
      if (line.starts_with(kEnd) && !_ended) return Fault("counts other messages than stand there");
      continue;
    }
    if (line.empty()) continue;
    ++_messages;
    if (_ended) return Fault("comes after the end");
    if (!ReadLine(line, folder, content)) return Fault("is none of a manifest's");
    return true;
  }
}

}  // namespace parvane::moves
