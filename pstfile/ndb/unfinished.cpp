#include "pstfile/ndb/unfinished.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/file_kind.h"

namespace parvane::pstfile {

using fields::Header;
using platform::Result;
using platform::Status;

namespace {

constexpr std::size_t kSize = Header::kMark.size;
constexpr std::string_view kWords = "Parvane has not finished this...";
static_assert(kWords.size() == kSize);

std::span<const std::byte> Mark() { return std::as_bytes(std::span(kWords)); }

}  // namespace

void MarkUnfinished(std::span<std::byte, kHeaderSize> header) {
  std::ranges::copy(Mark(), header.subspan<Header::kMark.offset, kSize>().begin());
}

Result<bool> IsUnfinished(platform::RandomAccessFile& file) {
  std::array<std::byte, kHeaderSize> start;
  const auto count = file.ReadAt(0, start);
  if (!count.ok()) return count.status();
  const auto read = std::span<const std::byte>(start).first(*count);
  return KindOf(read).status.ok() &&
         std::ranges::equal(read.subspan(Header::kMark.offset, kSize), Mark());
}

Status MarkFinished(platform::RandomAccessFile& file) {
  const auto marked = IsUnfinished(file);
  if (!marked.ok() || !*marked) return marked.status();
  constexpr std::array<std::byte, kSize> kNone{};
  return file.WriteAt(Header::kMark.offset, kNone);
}

}  // namespace parvane::pstfile
