// What a message is made of, as far as it decides how large it will be in a PST: for who must know
// that before it is written.
#pragma once

#include <cstdint>

namespace parvane::engine {

// Bytes, at most: of headers as they stand, of bodies decoded. Messages inside are looked into.
struct MessageShape {
  std::uint64_t header = 0;    // of all headers
  std::uint64_t text = 0;      // of bodies, and whatever else may become text
  std::uint64_t data = 0;      // of attachments
  std::uint64_t unpacked = 0;  // bytes that something in the attachments claims to unpack to
  // How many things there are that may become objects of their own: parts, messages, files packed
  // into one; and mailboxes in address fields. Rather too many than too few.
  std::uint64_t objects = 0;
  std::uint64_t addresses = 0;
};

// An item that tells it; found by dynamic_cast.
class IShapedAsset {
 public:
  virtual ~IShapedAsset() = default;
  virtual MessageShape Shape() const = 0;
};

}  // namespace parvane::engine
