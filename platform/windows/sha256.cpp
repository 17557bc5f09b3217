#include "platform/sha256.h"

#include <algorithm>
#include <new>

#include "platform/windows/windows_text.h"
// After windows.h:
#include <bcrypt.h>

namespace parvane::platform {
namespace {

// The longest that one call takes is 4 GB.
constexpr std::size_t kLongestPiece = std::size_t{1} << 30;

// Only memory can be missing: every Windows since 7 has the algorithm.
void Check(NTSTATUS status) {
  if (!BCRYPT_SUCCESS(status)) throw std::bad_alloc();
}

BCRYPT_ALG_HANDLE Algorithm() {
  static const BCRYPT_ALG_HANDLE algorithm = [] {
    BCRYPT_ALG_HANDLE handle = nullptr;
    Check(BCryptOpenAlgorithmProvider(&handle, BCRYPT_SHA256_ALGORITHM, nullptr, 0));
    return handle;
  }();
  return algorithm;
}

}  // namespace

struct Sha256::State {
  State() { Check(BCryptCreateHash(Algorithm(), &hash, nullptr, 0, nullptr, 0, 0)); }
  ~State() { BCryptDestroyHash(hash); }
  // One that begins anew by itself takes Windows 8.
  void BeginAnew() {
    BCryptDestroyHash(hash);
    hash = nullptr;
    Check(BCryptCreateHash(Algorithm(), &hash, nullptr, 0, nullptr, 0, 0));
  }

  BCRYPT_HASH_HANDLE hash = nullptr;
};

Sha256::Sha256() : _state(std::make_unique<State>()) {}

Sha256::~Sha256() = default;

void Sha256::Update(std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const auto piece = bytes.first(std::min(bytes.size(), kLongestPiece));
    Check(BCryptHashData(_state->hash,
                         const_cast<PUCHAR>(reinterpret_cast<const UCHAR*>(piece.data())),
                         static_cast<ULONG>(piece.size()), 0));
    bytes = bytes.subspan(piece.size());
  }
}

Sha256Digest Sha256::Finish() {
  Sha256Digest digest;
  Check(BCryptFinishHash(_state->hash, reinterpret_cast<PUCHAR>(digest.data()),
                         static_cast<ULONG>(digest.size()), 0));
  _state->BeginAnew();
  return digest;
}

}  // namespace parvane::platform
