#include "sources/emlx_file.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include <pugixml.hpp>

#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_mime.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"
#include "sources/emlx.h"

namespace QuelmarMIMEEngineCommon {

namespace platform = parvane::platform;
using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {

// No count is longer than this with its padding.
constexpr std::size_t kLongestFirstLine = 64;

struct FirstLine {
  std::uint64_t count = 0;
  std::size_t size = 0;  // of the line with its end
};

std::optional<FirstLine> ReadFirstLine(std::string_view file) {
  const std::size_t end = file.substr(0, kLongestFirstLine).find('\n');
  if (end == file.npos) return std::nullopt;
  std::string_view line = file.substr(0, end);
  const auto isPadding = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (!line.empty() && isPadding(line.front())) line.remove_prefix(1);
  while (!line.empty() && isPadding(line.back())) line.remove_suffix(1);
  FirstLine first{0, end + 1};
  const auto read = std::from_chars(line.data(), line.data() + line.size(), first.count);
  if (read.ec != std::errc() || read.ptr != line.data() + line.size()) return std::nullopt;
  return first;
}

bool IsHeaderField(std::string_view file) {
  constexpr std::size_t kLongestName = 78;
  const std::size_t colon = file.substr(0, kLongestName).find(':');
  return colon != file.npos && colon > 0 &&
         std::ranges::all_of(file.substr(0, colon), [](char c) { return c > ' ' && c <= '~'; });
}

// Where the list begins: npos unless it is whole.
std::size_t FindList(std::string_view rest) {
  constexpr std::string_view kEnd = "</plist>";
  const std::size_t last = rest.find_last_not_of(std::string_view(" \t\r\n\0", 5));
  if (last == rest.npos || !rest.substr(0, last + 1).ends_with(kEnd)) return rest.npos;
  return rest.rfind("<?xml");
}

}  // namespace

Result<EmlxPieces> SplitEMLX(std::string_view file) {
  auto first = ReadFirstLine(file);
  if (!first && IsHeaderField(file)) first = FirstLine{file.size(), 0};
  if (!first) {
    return Status(StatusCode::kCorrupt,
                  "does not begin with the number of its bytes, so it is no EMLX message");
  }
  const std::string_view rest = file.substr(first->size);
  EmlxPieces pieces;
  std::size_t end = FindList(rest);
  if (end == rest.npos) {
    end = static_cast<std::size_t>(std::min<std::uint64_t>(first->count, rest.size()));
    pieces.missing = first->count - end;
  }
  pieces.message = rest.substr(0, end);
  pieces.list = rest.substr(end);
  return pieces;
}

std::map<std::string, std::string> ReadEMLXProperties(std::string_view list) {
  constexpr std::size_t kLongestList = 1 << 20;
  std::map<std::string, std::string> properties;
  pugi::xml_document document;
  if (list.size() <= kLongestList && document.load_buffer(list.data(), list.size()))
    ReadPlist(document, properties);
  return properties;
}

Result<EmlxContent> ParseEMLX(std::string_view file) {
  const auto pieces = SplitEMLX(file);
  if (!pieces.ok()) return pieces.status();
  EmlxContent content;
  content.message.assign(pieces->message.begin(), pieces->message.end());
  content.missing = pieces->missing;
  content.properties = ReadEMLXProperties(pieces->list);
  return content;
}

Result<EmlxContent> ReadEMLXFile(std::u16string_view path) {
  const auto file = platform::ReadWholeFile(platform::FileSystem::Default(), path);
  if (!file.ok()) return file.status();
  auto content = ParseEMLX(*file);
  if (!content.ok()) return content.status().WithContext(platform::PathForDisplay(path));
  return content;
}

Status LoadEMLXMessage(std::u16string_view path, const EmlxContent& content,
                       Tessary::TsMime& mime) {
  Tessary::TsByteData bytes;
  bytes.append2(content.message.data(), content.message.size());
  mime.put_Utf8(true);
  if (!mime.LoadMimeBytes(bytes))
    return {StatusCode::kCorrupt, platform::PathForDisplay(path) + ": is no readable message"};

  std::u16string base = platform::StemOfPath(path);
  if (platform::EqualsIgnoreCase(platform::ExtensionOfPath(base), u".partial"))
    base = platform::StemOfPath(base);
  LoadEMLXParts(&mime, {}, platform::PathToNative(base),
                platform::PathToNative(platform::ParentOfPath(path)));
  return {};
}

}  // namespace QuelmarMIMEEngineCommon
