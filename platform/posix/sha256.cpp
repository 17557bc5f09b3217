#include "platform/sha256.h"

#include <nettle/sha2.h>

namespace parvane::platform {

struct Sha256::State {
  sha256_ctx context;
};

Sha256::Sha256() : _state(std::make_unique<State>()) { sha256_init(&_state->context); }

Sha256::~Sha256() = default;

void Sha256::Update(std::span<const std::byte> bytes) {
  sha256_update(&_state->context, bytes.size(),
                reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

Sha256Digest Sha256::Finish() {
  Sha256Digest digest;
  sha256_digest(&_state->context, digest.size(), reinterpret_cast<std::uint8_t*>(digest.data()));
  return digest;
}

}  // namespace parvane::platform
