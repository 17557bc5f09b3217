#include "archives/packing.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "archives/system.h"
#include "platform/text.h"

namespace parvane::archives {
namespace {

using namespace std::string_view_literals;

struct Signature {
  std::string_view bytes;
  Packing packing;
};
constexpr Signature kSignatures[] = {
    {"\x1F\x8B\x08"sv, Packing::kGzip},     {"\xFD\x37zXZ\0"sv, Packing::kXz},
    {"\x28\xB5\x2F\xFD"sv, Packing::kZstd}, {"PK\3\4"sv, Packing::kZip},
    {"PK\5\6\0\0\0\0"sv, Packing::kZip},  // an empty one
};

// "BZh", the size of its blocks, and the mark of a block or of the end.
bool IsBzip2(std::string_view bytes) {
  return bytes.size() >= 10 && bytes.starts_with("BZh") && bytes[3] >= '1' && bytes[3] <= '9' &&
         (bytes.substr(4, 6) == "\x31\x41\x59\x26\x53\x59" ||
          bytes.substr(4, 6) == "\x17\x72\x45\x38\x50\x90");
}

// POSIX 1003.1, pax, ustar interchange format: a block of 512 bytes with the sum of its bytes at
// 148, in octal digits, that field itself counted as blanks.
bool IsTar(std::string_view bytes) {
  constexpr std::size_t kBlock = 512, kSum = 148, kSumSize = 8;
  if (bytes.size() < kBlock || bytes.front() == '\0') return false;
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    const bool ofSum = i >= kSum && i < kSum + kSumSize;
    sum += ofSum ? std::uint32_t{' '} : static_cast<unsigned char>(bytes[i]);
  }
  std::uint32_t said = 0;
  std::size_t digits = 0;
  for (const char c : bytes.substr(kSum, kSumSize)) {
    if (c == ' ' && digits == 0) continue;
    if (c < '0' || c > '7') break;
    said = said * 8 + static_cast<std::uint32_t>(c - '0');
    ++digits;
  }
  return digits > 0 && said == sum;
}

constexpr std::u16string_view kExtensions[] = {
    u".tar.gz", u".tar.bz2", u".tar.xz", u".tar.zst", u".tgz", u".tbz2", u".txz",
    u".tzst",   u".gz",      u".bz2",    u".xz",      u".zst", u".zip",  u".tar"};

}  // namespace

Packing PackingOf(std::string_view beginning) {
  const auto* found = std::ranges::find_if(
      kSignatures, [&](const Signature& one) { return beginning.starts_with(one.bytes); });
  if (found != std::end(kSignatures)) return found->packing;
  if (IsBzip2(beginning)) return Packing::kBzip2;
  return IsTar(beginning) ? Packing::kTar : Packing::kNone;
}

platform::Result<Packing> PackingOfFile(platform::FileSystem& files, std::u16string_view path) {
  auto file = files.Open(path, platform::FileSystem::OpenMode::kRead);
  if (!file.ok()) return file.status();
  std::array<char, kPackingBytes> beginning{};
  const auto count = (*file)->ReadAt(0, std::as_writable_bytes(std::span(beginning)));
  if (!count.ok()) return count.status();
  return PackingOf({beginning.data(), *count});
}

std::string_view NameOf(Packing packing) {
  static constexpr std::string_view kNames[] = {"plain", "gzip", "bzip2", "xz",
                                                "zstd",  "zip",  "tar"};
  return kNames[static_cast<std::size_t>(packing)];
}

bool IsReadHere(Packing packing) {
  return packing == Packing::kNone || packing == Packing::kZip || packing == Packing::kTar ||
         HasCompression(packing);
}

std::u16string_view WithoutPacking(std::u16string_view name) {
  for (const std::u16string_view extension : kExtensions) {
    if (name.size() > extension.size() &&
        platform::EqualsIgnoreCase(name.substr(name.size() - extension.size()), extension)) {
      return name.substr(0, name.size() - extension.size());
    }
  }
  return name;
}

}  // namespace parvane::archives
