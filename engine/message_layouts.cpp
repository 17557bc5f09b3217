#include "engine/message_layouts.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>

#include "engine/file_kinds.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::engine {
namespace {

using platform::DirectoryEntry;
using platform::FileKind;
using platform::FileSystem;

// Of a directory whose names do not tell, so many files are looked into.
constexpr std::size_t kFilesLookedInto = 8;
// As far as one of the fields that every message has is looked for.
constexpr std::size_t kBeginning = 8 << 10;

constexpr std::string_view kUsualFields[] = {"from",        "date",         "subject", "received",
                                             "return-path", "message-id",   "to",      "sender",
                                             "x-sender",    "mime-version", "cc"};

// A field's name, in front of the colon.
std::string_view FieldNameIn(std::string_view line) {
  const std::size_t colon = std::min(line.find(':'), line.size());
  const std::string_view name = line.substr(0, colon);
  const bool plain = std::ranges::all_of(name, [](char c) { return c > 0x20 && c < 0x7F; });
  return plain && colon < line.size() ? name : std::string_view();
}

bool HoldsMessage(std::u16string_view path) {
  auto file = FileSystem::Default().Open(path, FileSystem::OpenMode::kRead);
  if (!file.ok()) return false;
  std::array<char, kBeginning> beginning;
  const auto count = (*file)->ReadAt(0, std::as_writable_bytes(std::span(beginning)));
  return count.ok() && BeginsLikeMessage({beginning.data(), *count});
}

// One of the first few that `isOne` picks.
template <typename IsOne>
bool AnyHoldsMessage(std::u16string_view directory, const std::vector<DirectoryEntry>& entries,
                     IsOne isOne) {
  std::size_t left = kFilesLookedInto;
  for (const DirectoryEntry& entry : entries) {
    if (left == 0) return false;
    if (entry.kind != FileKind::kFile || !isOne(entry)) continue;
    --left;
    if (HoldsMessage(platform::JoinPath(directory, entry.name))) return true;
  }
  return false;
}

bool IsMaildir(std::u16string_view directory, const std::vector<DirectoryEntry>& entries) {
  const auto has = [&](std::u16string_view name) {
    return std::ranges::any_of(entries, [&](const DirectoryEntry& entry) {
      return entry.kind == FileKind::kFolder && entry.name == name;
    });
  };
  if (has(u"cur") + has(u"new") + has(u"tmp") >= 2) return true;
  if (!has(u"cur")) return false;
  // The name alone is nothing: pointers are kept in a folder of that name.
  const std::u16string cur = platform::JoinPath(directory, u"cur");
  const auto files = FileSystem::Default().List(cur);
  return files.ok() && AnyHoldsMessage(cur, *files, [](const DirectoryEntry& entry) {
           return !entry.name.starts_with(u'.');
         });
}

bool IsMh(std::u16string_view directory, const std::vector<DirectoryEntry>& entries) {
  const bool marked = std::ranges::any_of(entries, [](const DirectoryEntry& entry) {
    return entry.kind == FileKind::kFile && entry.name == kMhSequences;
  });
  return marked || AnyHoldsMessage(directory, entries, [](const DirectoryEntry& entry) {
           return MhNumber(entry.name) > 0;
         });
}

}  // namespace

MessageLayout LayoutOf(std::u16string_view directory, const std::vector<DirectoryEntry>& entries) {
  if (IsMaildir(directory, entries)) return MessageLayout::kMaildir;
  if (IsMh(directory, entries)) return MessageLayout::kMh;
  if (std::ranges::any_of(entries, IsLetter)) return MessageLayout::kLetters;
  return MessageLayout::kNone;
}

bool IsLetter(const DirectoryEntry& entry) {
  return entry.kind == FileKind::kFile && HasExtension(entry.name, u".eml") &&
         !entry.name.starts_with(u"._");
}

// One of the usual fields stands in the header.
bool BeginsLikeMessage(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  for (bool first = true; !text.empty(); first = false) {
    const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    const std::string_view name = FieldNameIn(line);
    if (first && name.empty()) return false;
    if (line.empty()) return false;
    const auto isIt = [&](std::string_view one) {
      return platform::EqualsIgnoreAsciiCase(name, one);
    };
    if (std::ranges::any_of(kUsualFields, isIt)) return true;
    text.remove_prefix(line.size());
    text.remove_prefix(text.starts_with("\r\n") ? 2 : std::min<std::size_t>(text.size(), 1));
  }
  return false;
}

std::uint32_t MhNumber(std::u16string_view name) {
  constexpr std::size_t kMostDigits = 9;
  if (name.empty() || name.size() > kMostDigits || name.front() == u'0') return 0;
  std::uint32_t number = 0;
  for (const char16_t c : name) {
    if (c < u'0' || c > u'9') return 0;
    number = number * 10 + static_cast<std::uint32_t>(c - u'0');
  }
  return number;
}

}  // namespace parvane::engine
