// The writing side of diagnostics.h, for implementations of MAPI.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "mapi/diagnostics.h"

namespace parvane::mapi {

// The face by which a store gives its record, a C++ class that no other module may be handed.
class DiagnosedStore {
 public:
  virtual std::shared_ptr<const StoreDiagnostics> Diagnostics() const = 0;

 protected:
  ~DiagnosedStore() = default;
};
// What such a store's QueryInterface knows that face by. Every module that has this code has an
// identifier of its own: a store of another module, which may be built otherwise, never answers.
const IID& DiagnosedStoreIid();

// Remembers a failure, in `store` too when that is not null. Never throws.
void RecordFailure(StoreDiagnostics* store, HRESULT result, std::string_view text) noexcept;
void CountObjects(std::int64_t change) noexcept;
void CountBuffers(std::int64_t change) noexcept;

}  // namespace parvane::mapi
