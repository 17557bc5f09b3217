#include "pstfile/check/header_check.h"

#include <algorithm>
#include <array>

#include "pstfile/ndb/crc.h"

namespace parvane::pstfile::check {
namespace {

constexpr std::uint8_t kMapsInvalid = 0;
constexpr std::uint8_t kMapsValidOld = 1;
constexpr std::uint8_t kMapsValid = 2;

std::uint32_t PartialCrc(std::span<const std::byte> header) { return Crc(header.subspan(8, 471)); }
std::uint32_t FullCrc(std::span<const std::byte> header) { return Crc(header.subspan(8, 516)); }

void CheckSums(Image& image, Reporter& reporter) {
  const HeaderFields& h = image.header();
  const std::uint32_t partial = PartialCrc(image.headerBytes());
  const std::uint32_t full = FullCrc(image.headerBytes());
  if (h.partialCrc == partial && h.fullCrc == full) return;
  if (h.partialCrc != partial) {
    reporter.Error(codes::kHeaderCrc,
                   Say("header: dwCRCPartial ", Hex{h.partialCrc}, ", computed ", Hex{partial}));
  }
  if (h.fullCrc != full) {
    reporter.Error(codes::kHeaderCrc,
                   Say("header: dwCRCFull ", Hex{h.fullCrc}, ", computed ", Hex{full}));
  }
  std::array<std::byte, kHeaderSize> bytes{};
  if (!image.Read(kHeaderCopyOffset, bytes)) return;
  const HeaderFields copy = HeaderFields::Decode(bytes);
  if (copy.magic == h.magic && copy.version == h.version && copy.partialCrc == PartialCrc(bytes) &&
      copy.fullCrc == FullCrc(bytes)) {
    image.UseHeader(copy);
  }
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
                      "allocation maps do not count");
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
  auto from = head.begin() + kHeaderSize;
  if (image.header().mapState != kMapsValid) {
    // Until the file is closed, the copy of the coming header stands here.
    std::fill_n(head.begin() + kHeaderCopyOffset, kHeaderSize, std::byte{0});
  }
  const auto found = std::find_if(from, head.end(), [](std::byte b) { return b != std::byte{0}; });
  if (found != head.end()) {
    reporter.Warning(codes::kHeaderGap,
                     Say("the byte at ", Hex{static_cast<std::uint64_t>(found - head.begin())},
                         " is not zero; nothing is defined between header and 0x4200"));
  }
}

void CheckSize(const Image& image, Reporter& reporter) {
  const HeaderFields& h = image.header();
  if (h.endOfFile != image.size()) {
    reporter.Report(
        h.mapState == kMapsInvalid && reporter.options().acceptUnclosed ? Severity::kNote
                                                                        : Severity::kError,
        codes::kFileSize,
        Say("header: ibFileEof is ", h.endOfFile, ", the file has ", image.size(), " bytes"));
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
