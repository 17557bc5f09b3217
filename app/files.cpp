#include "app/files.h"

#include <algorithm>
#include <optional>

#include "platform/path.h"
#include "platform/system.h"

namespace parvane::app {
namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

// Of the names' own bytes, with a zero between those of several.
std::optional<std::string> FromId(std::string_view id) {
  if (id.empty() || id.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  for (std::size_t i = 0; i < id.size(); i += 2) {
    const std::size_t high = kDigits.find(id[i]), low = kDigits.find(id[i + 1]);
    if (high == kDigits.npos || low == kDigits.npos) return std::nullopt;
    bytes += static_cast<char>(high << 4 | low);
  }
  return bytes;
}

// As people type it.
std::u16string WithHome(std::u16string path) {
  if (path != u"~" && !path.starts_with(u"~/")) return path;
  const auto home = platform::FolderOfUser(platform::UserFolder::kHome);
  return home ? *home + path.substr(1) : path;
}

Refusal NoSuchId() { return {400, "request", "this id was never given out"}; }

}  // namespace

std::string IdOf(const std::vector<std::u16string>& paths) {
  std::string id;
  for (const std::u16string& path : paths) {
    if (!id.empty()) id += "00";
    for (const char c : platform::PathToNative(path)) {
      const auto byte = static_cast<unsigned char>(c);
      id += kDigits[byte >> 4];
      id += kDigits[byte & 15];
    }
  }
  return id;
}

std::vector<std::u16string> PathsOf(const Json& named) {
  if (!named.is_object()) throw Refusal{400, "request", "a file is named by its path or its id"};
  const std::string id = TextIn(named, "id");
  if (id.empty()) {
    const std::string path = TextIn(named, "path");
    if (path.find('\0') != path.npos) throw Refusal{400, "request", "no path holds a zero"};
    if (path.empty()) return {};
    return {WithHome(platform::PathFromNative(path))};
  }
  const auto bytes = FromId(id);
  if (!bytes) throw NoSuchId();
  std::vector<std::u16string> paths;
  for (std::size_t at = 0; at <= bytes->size();) {
    const std::size_t end = std::min(bytes->find('\0', at), bytes->size());
    if (end == at) throw NoSuchId();
    paths.push_back(platform::PathFromNative(std::string_view(*bytes).substr(at, end - at)));
    at = end + 1;
  }
  return paths;
}

std::u16string PathOf(const Json& named) {
  const auto paths = PathsOf(named);
  return paths.empty() ? std::u16string() : paths.front();
}

void Name(Json& json, const std::vector<std::u16string>& paths) {
  json["path"] = paths.empty() ? std::string() : platform::PathForDisplay(paths.front());
  json["id"] = IdOf(paths);
}

bool IsWhole(std::u16string_view path) {
  if (platform::kPathSeparator == u'/') return path.starts_with(u'/');
  return path.starts_with(u"\\\\") ||
         (path.size() > 2 && path[1] == u':' && (path[2] == u'\\' || path[2] == u'/'));
}

void Chosen::Add(const std::vector<std::u16string>& paths, std::string_view kind) {
  const std::lock_guard lock(_mutex);
  for (const std::u16string& path : paths) _kinds.insert_or_assign(path, std::string(kind));
}

std::string Chosen::KindOf(const std::u16string& path) const {
  const std::lock_guard lock(_mutex);
  const auto found = _kinds.find(path);
  return found == _kinds.end() ? std::string() : found->second;
}

void Chosen::Require(const std::vector<std::u16string>& paths) const {
  const std::lock_guard lock(_mutex);
  for (const std::u16string& path : paths) {
    if (!_kinds.contains(path)) {
      throw Refusal{403, "notChosen", platform::PathForDisplay(path) + ": was not chosen here"};
    }
  }
}

}  // namespace parvane::app
