// SHA-256 (FIPS 180-4), by the system's library.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

namespace parvane::platform {

using Sha256Digest = std::array<std::byte, 32>;

class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  void Update(std::span<const std::byte> bytes);
  void Update(std::string_view bytes) { Update(std::as_bytes(std::span(bytes))); }
  // The digest of all that came since the last one; begins anew.
  Sha256Digest Finish();

 private:
  struct State;
  std::unique_ptr<State> _state;
};

}  // namespace parvane::platform
