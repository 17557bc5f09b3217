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

// A list that is cut off or damaged gives nothing.
std::map<std::string, std::string> ReadProperties(std::string_view list) {
  std::map<std::string, std::string> properties;
  pugi::xml_document document;
  if (document.load_buffer(list.data(), list.size())) ReadPlist(document, properties);
  return properties;
}

}  // namespace

Result<EmlxContent> ParseEMLX(std::string_view file) {
  const auto first = ReadFirstLine(file);
  if (!first) {
    return Status(StatusCode::kCorrupt,
                  "does not begin with the number of its bytes, so it is no EMLX message");
  }
  const std::string_view rest = file.substr(first->size);
  const std::uint64_t there = std::min<std::uint64_t>(first->count, rest.size());
  const std::string_view message = rest.substr(0, static_cast<std::size_t>(there));
  EmlxContent content;
  content.message.assign(message.begin(), message.end());
  content.missing = first->count - there;
  content.properties = ReadProperties(rest.substr(message.size()));
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
