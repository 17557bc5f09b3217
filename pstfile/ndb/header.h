// The 564 bytes at the start of the file ([MS-PST] 2.2.2.6).
//
//   offset size field          meaning here
//        0    4 dwMagic        "!BDN"
//        4    4 dwCRCPartial   CRC of bytes 8..478
//        8    2 wMagicClient   "SM" ("SO" marks a cache of a mail server, which is refused)
//       10    2 wVer           23; 14 and 15 are the old format, 36 has 4 KiB pages
//       12    2 wVerClient     19
//       14    1 bPlatformCreate, 1 bPlatformAccess
//       32    8 bidNextP       next PageId
//       40    4 dwUnique       grows by one with every header written
//       44  128 rgnid[32]      last index handed out, per node kind
//      184    8 ibFileEof      size of the file
//      192    8 ibAMapLast     offset of the last AMap
//      200    8 cbAMapFree     free bytes according to the AMaps
//      208    8 cbPMapFree     0; older files: free bytes in pages set aside
//      216   16 BREFNBT, 232 16 BREFBBT   roots: PageId, offset
//      248    1 fAMapValid     2: the AMaps can be trusted
//      256  128 rgbFM, 384 128 rgbFP      all FF, but real values in older files
//      512    1 bSentinel      0x80
//      513    1 bCryptMethod
//      516    8 bidNextB       next BlockId
//      524    4 dwCRCFull      CRC of bytes 8..523
//
// Bytes not named here are kept as they were found.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/status.h"
#include "pstfile/ndb/encoding.h"
#include "pstfile/ndb/layout.h"
#include "pstfile/ndb/page.h"

namespace parvane::pstfile {

inline constexpr std::uint32_t kMagic = 0x4E444221;         // "!BDN"
inline constexpr std::uint16_t kMagicPst = 0x4D53;          // "SM"
inline constexpr std::uint16_t kMagicServerCache = 0x4F53;  // "SO"
inline constexpr std::uint16_t kVersion = 23;

inline constexpr std::uint8_t kMapsInvalid = 0;
inline constexpr std::uint8_t kMapsValid = 2;

struct FileHeader {
  std::uint64_t nextPageId = 1;
  std::uint32_t unique = 1;
  std::array<std::uint32_t, 32> counters{};
  std::uint64_t endOfFile = 0;
  std::uint64_t lastAMap = 0;
  std::uint64_t freeBytes = 0;
  PageRef nodeRoot;
  PageRef blockRoot;
  std::uint8_t mapState = kMapsInvalid;
  CryptMethod crypt = CryptMethod::kPermute;
  std::uint64_t nextBlockId = 4;
  // True for files from before Outlook 2007 SP2, which set pages aside through their page maps.
  bool oldPageMapInUse = false;
  // Says that no page is set aside any more. The page maps themselves must say so first.
  void DropOldPageMap();

  // The bytes the header was decoded from; Encode starts with them.
  std::array<std::byte, kHeaderSize> raw{};

  // The header of a new file: no ids handed out.
  static FileHeader New(CryptMethod crypt);
  static FileHeader Decode(std::span<const std::byte, kHeaderSize> bytes);
  // All fields and both CRCs into `raw`, which is returned.
  const std::array<std::byte, kHeaderSize>& Encode();

  // ok when the bytes are the header of a file this engine handles, CRCs aside: kCorrupt for
  // something else altogether, kUnsupported for relatives of the format.
  static platform::Status CheckKind(std::span<const std::byte, kHeaderSize> bytes);
  static platform::Status CheckPartialCrc(std::span<const std::byte, kHeaderSize> bytes);
  static platform::Status CheckFullCrc(std::span<const std::byte, kHeaderSize> bytes);
  // Fields against each other and the limits of the format.
  platform::Status CheckFields() const;
};

}  // namespace parvane::pstfile
