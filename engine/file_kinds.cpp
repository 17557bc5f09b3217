#include "engine/file_kinds.h"

#include <algorithm>
#include <span>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/process.h"
#include "platform/text.h"

namespace parvane::engine {
namespace {

constexpr std::u16string_view kMessages[] = {u".eml", u".emlx", u".mh_sequences"};
constexpr std::u16string_view kForeign[] = {u".dbx", u".msg", u".nsf", u".olm", u".ost", u".tbb"};
constexpr std::u16string_view kArchives[] = {u".gz", u".tgz", u".bz2", u".xz",  u".lzma", u".zst",
                                             u".z",  u".zip", u".7z",  u".rar", u".tar"};

bool HasOneOf(std::u16string_view path, std::span<const std::u16string_view> extensions) {
  const std::u16string extension = platform::ExtensionOfPath(path);
  return std::any_of(extensions.begin(), extensions.end(), [&](std::u16string_view one) {
    return platform::EqualsIgnoreCase(extension, one);
  });
}

}  // namespace

bool HasExtension(std::u16string_view path, std::u16string_view extension) {
  return HasOneOf(path, {&extension, 1});
}
bool IsNamedLikeAMessage(std::u16string_view path) { return HasOneOf(path, kMessages); }
bool IsNamedLikeForeignMail(std::u16string_view path) { return HasOneOf(path, kForeign); }
bool IsMailboxFolder(std::u16string_view name) {
  constexpr std::u16string_view kFolders[] = {u".mbox", u".imapmbox"};
  return !platform::StemOfPath(name).empty() && HasOneOf(name, kFolders);
}
std::u16string NameOfSource(std::u16string_view path) {
  const std::u16string name = platform::FileNameOfPath(path);
  return name.empty() || name == u"." || name == u".."
             ? platform::FileNameOfPath(platform::CanonicalPath(path))
             : name;
}
bool IsNamedLikeAnArchive(std::u16string_view path) { return HasOneOf(path, kArchives); }

}  // namespace parvane::engine
