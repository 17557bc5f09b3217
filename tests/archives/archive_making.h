// Zip and tar archives of a test, with whatever faults it wants.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simd/crc32.h"

struct ZipEntry {
  std::string name;
  std::string bytes;             // as they stand in the archive
  std::uint16_t method = 0;      // stored; 8: deflated
  std::uint16_t flags = 0x0800;  // the name is UTF-8; 1: encrypted
  std::uint32_t crc = 0;         // 0: the right one
  std::uint32_t size = 0;        // unpacked, where that differs
  bool zip64 = false;
};

inline std::string LittleEndian(std::uint64_t value, int bytes) {
  std::string text;
  for (; bytes > 0; --bytes, value >>= 8) text += static_cast<char>(value & 0xFF);
  return text;
}

inline std::uint32_t ZipCrc(std::string_view bytes) {
  const auto data = std::as_bytes(std::span(bytes));
  return ~parvane::platform::simd::Crc32(data.data(), data.size(), ~0u);
}

// `directory` false: as if cut off behind the last entry.
inline std::string ZipOf(const std::vector<ZipEntry>& entries, bool directory = true) {
  std::string zip, listed;
  for (const ZipEntry& entry : entries) {
    const std::uint64_t size = entry.size ? entry.size : entry.bytes.size();
    const std::string extra = entry.zip64
                                  ? LittleEndian(1, 2) + LittleEndian(16, 2) +
                                        LittleEndian(size, 8) + LittleEndian(entry.bytes.size(), 8)
                                  : "";
    const std::uint32_t inExtra = 0xFFFFFFFF;
    const std::string common = LittleEndian(45, 2) + LittleEndian(entry.flags, 2) +
                               LittleEndian(entry.method, 2) + LittleEndian(0, 4) +
                               LittleEndian(entry.crc ? entry.crc : ZipCrc(entry.bytes), 4) +
                               LittleEndian(entry.zip64 ? inExtra : entry.bytes.size(), 4) +
                               LittleEndian(entry.zip64 ? inExtra : size, 4) +
                               LittleEndian(entry.name.size(), 2) + LittleEndian(extra.size(), 2);
    listed += "PK\1\2" + LittleEndian(45, 2) + common + LittleEndian(0, 6) + LittleEndian(0, 4) +
              LittleEndian(zip.size(), 4) + entry.name + extra;
    zip += "PK\3\4" + common + entry.name + extra + entry.bytes;
  }
  if (!directory) return zip;
  return zip + listed + "PK\5\6" + LittleEndian(0, 4) + LittleEndian(entries.size(), 2) +
         LittleEndian(entries.size(), 2) + LittleEndian(listed.size(), 4) +
         LittleEndian(zip.size(), 4) + LittleEndian(0, 2);
}

// `kind`: '0' a file, '5' a folder, '2' a symbolic link.
inline std::string TarEntry(std::string name, std::string_view bytes, char kind = '0') {
  const auto octal = [](std::uint64_t value, int digits) {
    std::string text(static_cast<std::size_t>(digits), '0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit, value /= 8)
      *digit = static_cast<char>('0' + value % 8);
    return text + '\0';
  };
  name.resize(100, '\0');
  std::string block = name + octal(0644, 7) + octal(0, 7) + octal(0, 7) + octal(bytes.size(), 11) +
                      octal(0, 11) + std::string(8, ' ') + kind + std::string(100, '\0') + "ustar" +
                      '\0' + "00";
  block.resize(512, '\0');
  std::uint64_t sum = 0;
  for (const char c : block) sum += static_cast<unsigned char>(c);
  block.replace(148, 8, octal(sum, 6) + ' ');
  block += bytes;
  block.resize((block.size() + 511) / 512 * 512, '\0');
  return block;
}
inline std::string TarEnd() { return std::string(1024, '\0'); }
