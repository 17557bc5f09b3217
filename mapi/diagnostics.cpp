#include "mapi/diagnostics.h"

#include <cstring>
#include <list>

#include "mapi/diagnostics_recorder.h"

namespace parvane::mapi {
namespace {

struct State {
  std::list<StoreDiagnostics> records;  // references to elements stay valid
  std::vector<StoreDiagnostics> snapshot;
  Failure firstFailure;
  Failure lastFailure;
  std::uint64_t failures = 0;
  std::int64_t objects = 0;
  std::int64_t buffers = 0;
};

State& TheState() {
  static State state;
  return state;
}

// Asked for several times a message.
bool SamePath(std::u16string_view a, std::u16string_view b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0;
}

}  // namespace

const std::vector<StoreDiagnostics>& AllStoreDiagnostics() {
  State& state = TheState();
  state.snapshot.assign(state.records.begin(), state.records.end());
  return state.snapshot;
}

const StoreDiagnostics* FindStoreDiagnostics(std::u16string_view path) {
  for (const StoreDiagnostics& record : TheState().records) {
    if (SamePath(record.path, path)) return &record;
  }
  return nullptr;
}

const Failure& FirstFailure() { return TheState().firstFailure; }
const Failure& LastFailure() { return TheState().lastFailure; }
std::uint64_t FailureCount() { return TheState().failures; }
std::uint64_t LiveObjects() { return static_cast<std::uint64_t>(TheState().objects); }
std::uint64_t LiveBuffers() { return static_cast<std::uint64_t>(TheState().buffers); }

void ResetDiagnostics() {
  State& state = TheState();
  for (StoreDiagnostics& record : state.records) {
    if (!record.isOpen) continue;
    record.failures = 0;
    record.firstFailure = {};
    record.lastFailure = {};
  }
  std::erase_if(state.records, [](const StoreDiagnostics& record) { return !record.isOpen; });
  state.firstFailure = {};
  state.lastFailure = {};
  state.failures = 0;
}

StoreDiagnostics& RecordFor(std::u16string_view path) {
  State& state = TheState();
  for (StoreDiagnostics& record : state.records) {
    if (SamePath(record.path, path)) return record;
  }
  StoreDiagnostics& record = state.records.emplace_back();
  record.path = path;
  return record;
}

void RecordFailure(StoreDiagnostics* store, HRESULT result, std::string_view text) noexcept try {
  const Failure failure{result, std::string(text)};
  State& state = TheState();
  if (++state.failures == 1) state.firstFailure = failure;
  state.lastFailure = failure;
  if (store == nullptr) return;
  if (++store->failures == 1) store->firstFailure = failure;
  store->lastFailure = failure;
} catch (...) {
  // Out of memory: the result codes alone must do.
}

void CountObjects(std::int64_t change) noexcept { TheState().objects += change; }
void CountBuffers(std::int64_t change) noexcept { TheState().buffers += change; }

}  // namespace parvane::mapi
