#include "app/page_answer.h"

#include <string>

#include "app/page_files.h"
#include "desk/page_files.h"

namespace parvane::app {
namespace {

std::string TypeOf(std::string_view name) {
  constexpr std::pair<std::string_view, std::string_view> kTypes[] = {
      {".html", "text/html; charset=utf-8"},
      {".css", "text/css; charset=utf-8"},
      {".js", "text/javascript; charset=utf-8"},
      {".svg", "image/svg+xml"},
      {".png", "image/png"},
      {".ico", "image/x-icon"}};
  for (const auto& [ending, type] : kTypes) {
    if (name.ends_with(ending)) return std::string(type);
  }
  return "application/octet-stream";
}

}  // namespace

HttpAnswer PageAnswer(std::string_view name) {
  if (name.empty()) name = "index.html";
  // Its own files, and those that it shares with the report's page.
  for (const auto files : {PageFiles(), desk::PageFiles()}) {
    for (const platform::EmbeddedFile& file : files) {
      if (file.name == name) return {200, TypeOf(name), std::string(file.bytes)};
    }
  }
  return {404, "text/plain", {}};
}

}  // namespace parvane::app
