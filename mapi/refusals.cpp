#include "mapi/refusals.h"

#include "mapi/results.h"

namespace parvane::mapi {
namespace {

constexpr std::size_t kMostKinds = 100;

thread_local RefusalLog* innermost = nullptr;

}  // namespace

RefusalLog::RefusalLog() : _outer(innermost) { innermost = this; }
RefusalLog::~RefusalLog() { innermost = _outer; }

void RefusalLog::Add(HRESULT result, ULONG tag) {
  for (Refusal& known : _refusals) {
    if (known.tag == tag && known.result == result && known.file == _file) {
      ++known.count;
      return;
    }
  }
  if (_refusals.size() < kMostKinds) {
    _refusals.push_back({tag, result, _file});
  } else if (_refusals.size() == kMostKinds) {
    _refusals.push_back({0, result, {}});
  } else {
    ++_refusals.back().count;
  }
}

void NoteRefusal(HRESULT result, ULONG tag) noexcept {
  if (innermost == nullptr || result == MAPI_E_COMPUTED) return;
  try {
    innermost->Add(result, tag);
  } catch (...) {
    // Out of memory: MAPI's own count must do.
  }
}

void RefusalsConcern(std::u16string_view file) {
  if (innermost != nullptr) innermost->_file = file;
}

}  // namespace parvane::mapi
