// Unpacks the RTF of MAPI messages ([MS-OXRTFCP]).
//
//   header     := size:4 (of what follows) rawSize:4 type:4 crc:4      little-endian
//   type       := "LZFu" packed | "MELA" as it is
//   packed     := (flags:1 item*8)*          an item per flag, from the lowest bit up
//   item       := byte                       flag 0
//               | offset and length:2        flag 1; big-endian, 12 and 4 bits: of the dictionary,
//                                            length + 2 bytes; its own end as the offset ends all
//
// The dictionary is a ring of 4096 bytes that begins with what RTF often holds; all output passes
// through it, so that memory is constant whatever is claimed.
#pragma once

#include <functional>
#include <string_view>

namespace parvane::tnef {

// Called with the text piece by piece; false ends the unpacking.
using RtfSink = std::function<bool(std::string_view)>;

// False when the sink said so, and when this is no such RTF or it is damaged, which may show only
// after much of it has been handed on. Linear in its bytes.
bool DecompressRtf(std::string_view compressed, const RtfSink& sink);

}  // namespace parvane::tnef
