// The two byte substitutions that scramble the data of external blocks ([MS-PST] 5.1, 5.2).
//
// They keep data from being read by accident and nothing more. Internal blocks (XBLOCK and so on),
// pages and trailers are never encoded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace parvane::pstfile {

// The header's bCryptMethod.
enum class CryptMethod : std::uint8_t {
  kNone = 0,
  kPermute = 1,  // one table; what Outlook uses
  kCyclic = 2,   // three tables and a key that runs on with every byte
};

// The key of cyclic encoding is the low half of the id of the block the bytes belong to, so that
// data which moves to another block must be encoded anew.
constexpr std::uint32_t CyclicKey(std::uint64_t blockId) {
  return static_cast<std::uint32_t>(blockId);
}

// In place. `key` matters for kCyclic only.
void Encode(CryptMethod method, std::uint32_t key, std::span<std::byte> bytes);
void Decode(CryptMethod method, std::uint32_t key, std::span<std::byte> bytes);

// Copy and encode (decode) in one pass. `to` has the size of `from`; they do not overlap.
void EncodeTo(CryptMethod method, std::uint32_t key, std::span<const std::byte> from,
              std::span<std::byte> to);
void DecodeTo(CryptMethod method, std::uint32_t key, std::span<const std::byte> from,
              std::span<std::byte> to);

}  // namespace parvane::pstfile
