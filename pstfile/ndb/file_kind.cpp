#include "pstfile/ndb/file_kind.h"

#include <array>
#include <string>

#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/header.h"

namespace parvane::pstfile {

using fields::Header;
using platform::Result;
using platform::StatusCode;

namespace {

// Programs that cut a file off seldom leave less than its magic numbers.
constexpr std::size_t kTellingBytes = Header::kMagicClient.offset + Header::kMagicClient.size;

FileKind OtherPst(std::string what) {
  return {FileFamily::kPst, {StatusCode::kUnsupported, std::move(what)}};
}

}  // namespace

FileKind KindOf(std::span<const std::byte> start) {
  if (start.empty())
    return {FileFamily::kOther, {StatusCode::kCorrupt, "is empty, no PST (Outlook data file)"}};
  if (start.size() < kTellingBytes || LoadField<std::uint32_t>(start, Header::kMagic) != kMagic) {
    return {
        FileFamily::kOther,
        {StatusCode::kCorrupt, "is no PST (Outlook data file): it does not begin with \"!BDN\""}};
  }
  // Before the version: an OST by a later Outlook has 4 KiB pages, and is an OST first of all.
  if (LoadField<std::uint16_t>(start, Header::kMagicClient) == kMagicServerCache) {
    return {FileFamily::kOfflineStore,
            {StatusCode::kUnsupported, "is an offline copy of a server mailbox (OST), no PST"}};
  }
  if (start.size() < kHeaderSize) {
    return {FileFamily::kPst,
            {StatusCode::kCorrupt, "is a PST cut off after " + std::to_string(start.size()) +
                                       " bytes, which is less than its header"}};
  }
  switch (const auto version = LoadField<std::uint16_t>(start, Header::kVersion); version) {
    case kVersion:
      return {FileFamily::kPst, {}};
    case 14:
    case 15:
      return OtherPst("is a PST in the ANSI format (Outlook 97 to 2002, wVer " +
                      std::to_string(version) + "), which is not supported");
    case 36:
      return OtherPst("is a PST with 4 KiB pages (wVer 36), which is not supported");
    default:
      return OtherPst("is a PST of an unknown version (wVer " + std::to_string(version) +
                      "); only 23 is supported");
  }
}

Result<FileKind> KindOfFile(platform::FileSystem& files, std::u16string_view path) {
  auto file = files.Open(path, platform::FileSystem::OpenMode::kRead);
  if (!file.ok()) return file.status();
  std::array<std::byte, kHeaderSize> start;
  const auto count = (*file)->ReadAt(0, start);
  if (!count.ok()) return count.status();
  return KindOf(std::span(start).first(*count));
}

}  // namespace parvane::pstfile
