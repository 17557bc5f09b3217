#include "pstfile/check/header_check.h"

#include <algorithm>
#include <array>
#include <optional>

#include "pstfile/ndb/crc.h"

namespace parvane::pstfile::check {
namespace {

constexpr std::uint8_t kMapsInvalid = 0;
constexpr std::uint8_t kMapsValidOld = 1;
constexpr std::uint8_t kMapsValid = 2;

std::uint32_t PartialCrc(std::span<const std::byte> header) { return Crc(header.subspan(8, 471)); }
std::uint32_t FullCrc(std::span<const std::byte> header) { return Crc(header.subspan(8, 516)); }

// The copy of the coming header that stands in the file while it is changed, if it is whole.
std::optional<HeaderFields> WholeCopy(Image& image) {
  std::array<std::byte, kHeaderSize> bytes{};
  if (!image.Read(kHeaderCopyOffset, bytes)) return {};
  const HeaderFields copy = HeaderFields::Decode(bytes);
  const bool whole = copy.magic == image.header().magic && copy.version == image.header().version &&
                     copy.partialCrc == PartialCrc(bytes) && copy.fullCrc == FullCrc(bytes);
  return whole ? std::optional(copy) : std::nullopt;
}

void CheckSums(Image& image, Reporter& reporter) {
  const HeaderFields& h = image.header();
  const std::uint32_t partial = PartialCrc(image.headerBytes());
  const std::uint32_t full = FullCrc(image.headerBytes());
  if (h.partialCrc == partial && h.fullCrc == full) return;
  const std::optional<HeaderFields> copy = WholeCopy(image);
  // With its copy whole, the header was being written when power failed: nothing is lost.
  const auto report = [&](const char* field, std::uint32_t found, std::uint32_t computed) {
    if (found == computed) return;
    const std::string what = Say("header: ", field, " ", Hex{found}, ", computed ", Hex{computed},
                                 copy ? "; the copy at 0x2000 is whole" : "");
    if (copy) {
      reporter.Unclosed(codes::kHeaderCrc, what, Severity::kError);
    } else {
      reporter.Error(codes::kHeaderCrc, what);
    }
  };
  report("dwCRCPartial", h.partialCrc, partial);
  report("dwCRCFull", h.fullCrc, full);
  if (copy) image.UseHeader(*copy);
}

void CheckFields(const HeaderFields& h, Reporter& reporter) {
  struct Field {
    const char* name;
    std::uint64_t found;
    std::uint64_t expected;
    Severity severity;
  };
  const Field fields[] = {
      {"wMagicClient", h.clientMagic, 0x4D53, Severity::kError},
      {"wVerClient", h.clientVersion, 19, Severity::kError},
      {"bPlatformCreate", h.platformCreate, 1, Severity::kWarning},
      {"bPlatformAccess", h.platformAccess, 1, Severity::kWarning},
      {"ROOT dwReserved", h.rootReserved, 0, Severity::kWarning},
      {"ROOT bReserved and wReserved", h.rootTail, 0, Severity::kWarning},
      {"dwAlign", h.align, 0, Severity::kError},
      {"bSentinel", h.sentinel, 0x80, Severity::kError},
      {"rgbReserved", h.reserved, 0, Severity::kError},
      {"bidNextB, low two bits", h.nextBlockId & 3, 0, Severity::kError},
  };
  for (const Field& field : fields) {
    if (field.found == field.expected) continue;
    reporter.Report(
        field.severity, codes::kHeaderField,
        Say("header: ", field.name, " is ", Hex{field.found}, ", expected ", Hex{field.expected}));
  }
  if (h.cryptMethod > 2) {
    reporter.Error(codes::kHeaderField, Say("header: bCryptMethod is ", h.cryptMethod,
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
  if (!h.freePageMapsFull) {
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
  const HeaderFields& h = image.header();
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
  const HeaderFields& h = image.header();
  reporter.SetForeign(h.openerData1 != 0 || h.openerData2 != 0 || h.unusedBlockId != 0);
  CheckFields(h, reporter);
  CheckGap(image, reporter);
  CheckSize(image, reporter);
}

}  // namespace parvane::pstfile::check
