#include "desk/report_page.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "desk/page_files.h"
#include "engine/file_kinds.h"
#include "platform/sha256.h"

namespace parvane::desk {
namespace {

// Each uses only what those before it have.
constexpr std::string_view kModules[] = {"texts.js",   "say.js",     "dom.js",
                                         "chart.js",   "folders.js", "findings.js",
                                         "outlook.js", "done.js",    "report.js"};

std::string_view Part(std::string_view name) {
  const auto files = PageFiles();
  const auto found = std::ranges::find(files, name, &platform::EmbeddedFile::name);
  return found == files.end() ? std::string_view() : found->bytes;
}

// The modules as one: without what binds them to each other.
std::string Script() {
  constexpr std::string_view kImport = "import ", kExport = "export ";
  std::string script;
  for (const std::string_view module : kModules) {
    for (std::string_view rest = Part(module); !rest.empty();) {
      std::string_view line = rest.substr(0, rest.find('\n'));
      rest.remove_prefix(std::min(line.size() + 1, rest.size()));
      if (line.starts_with(kImport)) continue;
      if (line.starts_with(kExport)) line.remove_prefix(kExport.size());
      script.append(line).append("\n");
    }
  }
  return script;
}

// As a content security policy names what it lets through: SHA-256 in base64.
std::string Hash(std::string_view text) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  platform::Sha256 hash;
  hash.Update(text);
  std::string out;
  std::uint32_t bits = 0;
  int count = 0;
  for (const std::byte byte : hash.Finish()) {
    bits = bits << 8 | std::to_integer<std::uint32_t>(byte);
    for (count += 8; count >= 6; count -= 6) out += kAlphabet[bits >> (count - 6) & 0x3F];
  }
  out += kAlphabet[bits << (6 - count) & 0x3F];  // 32 bytes leave four bits
  return out + "=";
}

// In JSON "<" stands in strings alone, where it can be written so that no HTML ends at it.
void TakeEscaped(std::string_view json, const TakeText& take) {
  std::string piece;
  for (const char c : json) {
    if (c == '<') {
      piece += "\\u003c";
    } else {
      piece += c;
    }
  }
  take(piece);
}

}  // namespace

bool IsNamedLikePage(std::u16string_view path) {
  return engine::HasExtension(path, u".html") || engine::HasExtension(path, u".htm");
}

void ReportPage(const ConversionRecord& record, const TakeText& take) {
  const std::string script = Script();
  const std::string_view style = Part("page.css");
  const auto fill = [&](std::string_view place) {
    if (place == "format") return take(record.forecast ? kScanFormat : kReportFormat);
    if (place == "style") return take(style);
    if (place == "script") return take(script);
    if (place == "style-hash") return take(Hash(style));
    if (place == "script-hash") return take(Hash(script));
    Report(record, [&](std::string_view json) { TakeEscaped(json, take); });
  };
  for (std::string_view rest = Part("report.html"); !rest.empty();) {
    const std::size_t open = std::min(rest.find("{{"), rest.size());
    take(rest.substr(0, open));
    const std::size_t close = rest.find("}}", open);
    if (close == rest.npos) break;
    fill(rest.substr(open + 2, close - open - 2));
    rest.remove_prefix(close + 2);
  }
}

}  // namespace parvane::desk
