// The writing side of diagnostics.h, for implementations of MAPI.
#pragma once

#include "mapi/diagnostics.h"

namespace parvane::mapi {

// The record of this file, made when there is none. The reference holds until ResetDiagnostics.
StoreDiagnostics& RecordFor(std::u16string_view path);
// Remembers a failure, for its file too when `store` is not null. Never throws.
void RecordFailure(StoreDiagnostics* store, HRESULT result, std::string_view text) noexcept;
void CountObjects(std::int64_t change) noexcept;
void CountBuffers(std::int64_t change) noexcept;

}  // namespace parvane::mapi
