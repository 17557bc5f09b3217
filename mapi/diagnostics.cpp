#include "mapi/diagnostics.h"

#include <cstring>

#include "mapi/diagnostics_recorder.h"
#include "mapi/results.h"

namespace parvane::mapi {
namespace {

struct State {
  Failure lastFailure;
  std::int64_t objects = 0;
  std::int64_t buffers = 0;
};

State& TheState() {
  static State state;
  return state;
}

}  // namespace

// An address is what no two modules of a process share.
const IID& DiagnosedStoreIid() {
  static const IID iid = [] {
    IID made{0x6E0D1A53, 0x2C1B, 0x4F70, {}};
    const State* own = &TheState();
    static_assert(sizeof own <= sizeof made.Data4);
    std::memcpy(made.Data4, &own, sizeof own);
    return made;
  }();
  return iid;
}

std::shared_ptr<const StoreDiagnostics> DiagnosticsOf(IMsgStore& store) {
  void* face = nullptr;
  if (Failed(store.QueryInterface(DiagnosedStoreIid(), &face)) || face == nullptr) return nullptr;
  auto record = static_cast<const DiagnosedStore*>(face)->Diagnostics();
  store.Release();
  return record;
}

const Failure& LastFailure() { return TheState().lastFailure; }
std::uint64_t LiveObjects() { return static_cast<std::uint64_t>(TheState().objects); }
std::uint64_t LiveBuffers() { return static_cast<std::uint64_t>(TheState().buffers); }

void ResetDiagnostics() { TheState().lastFailure = {}; }

void RecordFailure(StoreDiagnostics* store, HRESULT result, std::string_view text) noexcept try {
  const Failure failure{result, std::string(text)};
  TheState().lastFailure = failure;
  if (store == nullptr) return;
  if (++store->failures == 1) store->firstFailure = failure;
  store->lastFailure = failure;
} catch (...) {
  // Out of memory: the result codes alone must do.
}

void CountObjects(std::int64_t change) noexcept { TheState().objects += change; }
void CountBuffers(std::int64_t change) noexcept { TheState().buffers += change; }

}  // namespace parvane::mapi
