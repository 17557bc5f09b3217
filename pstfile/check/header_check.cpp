#include "pstfile/check/header_check.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string_view>

#include "pstfile/ndb/crc.h"
#include "pstfile/ndb/fields.h"
#include "pstfile/ndb/header.h"

namespace parvane::pstfile::check {
namespace {

using fields::Header;

constexpr std::uint8_t kMapsValidOld = 1;

// A check sum of the header: as it is stored and as it is computed.
struct Sum {
  std::uint32_t found;
  std::uint32_t computed;
  bool Fits() const { return found == computed; }
};
Sum SumOf(const FileHeader& h, const Field& field, const Field& range) {
  return {LoadField<std::uint32_t>(h.raw, field),
          Crc(std::span(h.raw).subspan(range.offset, range.size))};
}
Sum PartialSum(const FileHeader& h) {
  return SumOf(h, Header::kPartialCrc, fields::kPartialCrcRange);
}
Sum FullSum(const FileHeader& h) { return SumOf(h, Header::kFullCrc, fields::kFullCrcRange); }

// The copy of the coming header that stands in the file while it is changed, if it is whole.
std::optional<FileHeader> WholeCopy(Image& image) {
  std::array<std::byte, kHeaderSize> bytes{};
  if (!image.Read(kHeaderCopyOffset, bytes)) return {};
  const FileHeader copy = FileHeader::Decode(bytes);
  const auto same = [&](const Field& field) {
    return LoadField(copy.raw, field) == LoadField(image.header().raw, field);
  };
  const bool whole = same(Header::kMagic) && same(Header::kVersion) && PartialSum(copy).Fits() &&
                     FullSum(copy).Fits();
  return whole ? std::optional(copy) : std::nullopt;
}

void CheckSums(Image& image, Reporter& reporter) {
  const FileHeader& h = image.header();
  const Sum partial = PartialSum(h);
  const Sum full = FullSum(h);
  if (partial.Fits() && full.Fits()) return;
  const std::optional<FileHeader> copy = WholeCopy(image);
  // With its copy whole, the header was being written when power failed: nothing is lost.
  const auto report = [&](const Field& field, Sum sum) {
    if (sum.Fits()) return;
    const std::string what = Say("header: ", field.name, " ", Hex{sum.found}, ", computed ",
                                 Hex{sum.computed}, copy ? "; the copy at 0x2000 is whole" : "");
    if (copy) {
      reporter.Unclosed(codes::kHeaderCrc, what, Severity::kError);
    } else {
      reporter.Error(codes::kHeaderCrc, what);
    }
  };
  report(Header::kPartialCrc, partial);
  report(Header::kFullCrc, full);
  if (copy) image.UseHeader(*copy);
}

void CheckFields(const FileHeader& h, Reporter& reporter) {
  const auto value = [&](const Field& field) { return LoadField(h.raw, field); };
  struct Rule {
    std::string_view name;
    std::uint64_t found;
    std::uint64_t expected;
    Severity severity;
  };
  const Rule rules[] = {
      {"wMagicClient", value(Header::kMagicClient), kMagicPst, Severity::kError},
      {"wVerClient", value(Header::kClientVersion), 19, Severity::kError},
      {"bPlatformCreate", value(Header::kPlatformCreate), 1, Severity::kWarning},
      {"bPlatformAccess", value(Header::kPlatformAccess), 1, Severity::kWarning},
      {"ROOT dwReserved", value(Header::kRootReserved), 0, Severity::kWarning},
      {"ROOT bReserved and wReserved", value(Header::kRootTail), 0, Severity::kWarning},
      {"dwAlign", value(Header::kAlign), 0, Severity::kError},
      {"bSentinel", value(Header::kSentinel), 0x80, Severity::kError},
      {"rgbReserved", value(Header::kReserved), 0, Severity::kError},
      {"bidNextB, low two bits", h.nextBlockId & 3, 0, Severity::kError},
  };
  for (const Rule& rule : rules) {
    if (rule.found == rule.expected) continue;
    reporter.Report(
        rule.severity, codes::kHeaderField,
        Say("header: ", rule.name, " is ", Hex{rule.found}, ", expected ", Hex{rule.expected}));
  }
  if (h.crypt > CryptMethod::kCyclic) {
    reporter.Error(codes::kHeaderField, Say("header: bCryptMethod is ", value(Header::kCryptMethod),
                                            ", expected 0 (none), 1 (permute) or 2 (cyclic)"));
  }
  if (h.mapState == kMapsInvalid) {
    reporter.Unclosed(codes::kNotClosed,
                      "header: fAMapValid is 0: the last writer did not close the file, and its "
                      "allocation maps do not count; the next one makes new ones");
  } else if (h.mapState > kMapsValid) {
    reporter.Error(codes::kHeaderField,
                   Say("header: fAMapValid is ", h.mapState, ", expected 0 or 2"));
  } else if (h.mapState == kMapsValidOld) {
    reporter.Habit(codes::kHeaderField, "header: fAMapValid is 1, which is no longer written");
  }
  const auto inUse = [&](const Field& map) {
    return std::ranges::any_of(std::span(h.raw).subspan(map.offset, map.size),
                               [](std::byte b) { return b != std::byte{0xFF}; });
  };
  if (inUse(Header::kFreeMap) || inUse(Header::kFreePageMap)) {
    reporter.Habit(codes::kMapContent, "header: rgbFM and rgbFP are not all FF");
  }
}

void CheckGap(Image& image, Reporter& reporter) {
  std::array<std::byte, kDListOffset> head{};
  if (!image.Read(0, head)) return;
  const auto nonZero = [&](std::size_t from, std::size_t to) -> std::optional<std::size_t> {
    const auto end = head.begin() + static_cast<std::ptrdiff_t>(to);
    const auto found = std::find_if(head.begin() + static_cast<std::ptrdiff_t>(from), end,
                                    [](std::byte b) { return b != std::byte{0}; });
    if (found == end) return {};
    return static_cast<std::size_t>(found - head.begin());
  };
  constexpr std::size_t kCopyEnd = kHeaderCopyOffset + kHeaderSize;
  for (const auto& stray :
       {nonZero(kHeaderSize, kHeaderCopyOffset), nonZero(kCopyEnd, head.size())}) {
    if (!stray) continue;
    reporter.Warning(codes::kHeaderGap,
                     Say("the byte at ", Hex{*stray},
                         " is not zero; nothing is defined between header and 0x4200"));
  }
  // Until the file is closed, the copy of the coming header is expected there.
  if (image.header().mapState != kMapsValid || !nonZero(kHeaderCopyOffset, kCopyEnd)) return;
  if (WholeCopy(image)) {
    reporter.Unclosed(codes::kNotClosed,
                      "a copy of the header stands at 0x2000: the last writer was cut off");
  } else {
    reporter.Unclosed(codes::kHeaderGap,
                      Say("the byte at ", Hex{*nonZero(kHeaderCopyOffset, kCopyEnd)},
                          " is not zero; nothing is defined between header and 0x4200"));
  }
}

void CheckSize(const Image& image, Reporter& reporter) {
  const FileHeader& h = image.header();
  if (h.endOfFile < image.size()) {
    // Space is taken before the header tells of it, and given back after: nothing is missing.
    reporter.Unclosed(codes::kFileSize, Say("header: ibFileEof is ", h.endOfFile, ", the file has ",
                                            image.size(), " bytes"));
  } else if (h.endOfFile > image.size()) {
    reporter.Error(codes::kFileSize, Say("header: ibFileEof is ", h.endOfFile,
                                         ", the file has only ", image.size(), " bytes"));
  } else if (image.size() < kSmallestFile ||
             (image.size() - kFirstAMapOffset) % kAMapInterval != 0) {
    reporter.Error(codes::kFileSize,
                   Say("the file has ", image.size(), " bytes, which is not ", kFirstAMapOffset,
                       " and a whole number of intervals of ", kAMapInterval));
  }
}

}  // namespace

void CheckHeader(Image& image, Reporter& reporter) {
  CheckSums(image, reporter);
  const FileHeader& h = image.header();
  // Outlook leaves its mark in these; they are zero in a new file.
  reporter.SetForeign(std::ranges::any_of(
      std::array{Header::kReserved1, Header::kReserved2, Header::kUnusedBlockId},
      [&](const Field& field) { return LoadField(h.raw, field) != 0; }));
  CheckFields(h, reporter);
  CheckGap(image, reporter);
  CheckSize(image, reporter);
}

}  // namespace parvane::pstfile::check
