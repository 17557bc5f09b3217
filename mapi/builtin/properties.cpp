#include "mapi/builtin/properties.h"

#include <algorithm>

#include "mapi/builtin/object.h"
#include "mapi/constants.h"

namespace parvane::mapi::builtin {
namespace {

// Failures of single properties on their way into a problem array.
class Problems {
 public:
  void Add(ULONG index, ULONG tag, SCODE error) { _problems.push_back({index, tag, error}); }
  void HandOut(SPropProblemArray** out) const {
    if (out == nullptr || _problems.empty()) return;
    Chain chain;
    const auto count = static_cast<ULONG>(_problems.size());
    auto* array = static_cast<SPropProblemArray*>(chain.Allocate(NewSizeSPropProblemArray(count)));
    array->cProblem = count;
    std::copy(_problems.begin(), _problems.end(), array->aProblem);
    *out = chain.Detach<SPropProblemArray>();
  }

 private:
  std::vector<SPropProblem> _problems;
};

bool IsEmptyMultiValue(const SPropValue& value) {
  return (PropType(value.ulPropTag) & MV_FLAG) != 0 && value.Value.MVi.cValues == 0;
}

// A property that no call may hold: it fails the whole call, before any of the others is set. All
// else that is wrong with one property is that property's problem, and the call succeeds.
bool SpoilsCall(const SPropValue& value) {
  const ULONG type = PropType(value.ulPropTag);
  return type == PT_OBJECT || (type != PT_ERROR && IsEmptyMultiValue(value));
}

// Finds one property and fills in its result; false when that is an error value.
bool ReturnOne(PropertyHolder& holder, ULONG tag, bool unicode, Chain& chain, Value& scratch,
               SPropValue& result) {
  // Scratch is used for one property after the other, and keeps its memory.
  scratch.large = false;
  const HRESULT found =
      IsHiddenId(PropId(tag)) ? MAPI_E_NOT_FOUND : holder.Find(PropId(tag), scratch);
  if (Failed(found)) {
    ReturnError(tag, found, result);
    return false;
  }
  const unsigned codePage = PropId(tag) == kHtmlId ? holder.HtmlCodePage() : kDefaultHtmlCodePage;
  return ReturnValue(scratch, tag, unicode, codePage, chain, result);
}

}  // namespace

unsigned PropertyHolder::HtmlCodePage() {
  Value value;
  if (Failed(Find(PropId(PR_INTERNET_CPID), value)) || value.tag != PR_INTERNET_CPID ||
      value.scalar == 0) {
    return kDefaultHtmlCodePage;
  }
  return static_cast<unsigned>(value.scalar);
}

HRESULT GetPropsOf(PropertyHolder& holder, const SPropTagArray* tags, ULONG flags, ULONG* count,
                   SPropValue** values) {
  const bool hasCount = ClearOut(count);
  if (!ClearOut(values) || !hasCount) return MAPI_E_INVALID_PARAMETER;
  if (tags != nullptr && tags->cValues == 0) return MAPI_E_INVALID_PARAMETER;
  if (const HRESULT result = holder.Prepare(); Failed(result)) return result;

  const bool unicode = (flags & MAPI_UNICODE) != 0;
  // Asked for by name, a property that is not there is an error value in its place; asked for all
  // together, only what is there comes.
  std::vector<ULONG> all;
  const ULONG* wanted = nullptr;
  std::size_t wantedCount = 0;
  if (tags != nullptr) {
    wanted = tags->aulPropTag;
    wantedCount = tags->cValues;
  } else {
    if (const HRESULT result = holder.ListTags(all); Failed(result)) return result;
    std::erase_if(all,
                  [](ULONG tag) { return IsHiddenId(PropId(tag)) || PropType(tag) == PT_OBJECT; });
    for (ULONG& tag : all) tag = TagForCaller(tag, unicode);
    wanted = all.data();
    wantedCount = all.size();
    if (wantedCount == 0) return S_OK;
  }

  Chain chain;
  auto* array = chain.AllocateArray<SPropValue>(wantedCount);
  Value scratch;
  bool complete = true;
  for (std::size_t i = 0; i < wantedCount; ++i) {
    if (!ReturnOne(holder, wanted[i], unicode, chain, scratch, array[i])) complete = false;
  }
  *count = static_cast<ULONG>(wantedCount);
  *values = chain.Detach<SPropValue>();
  return complete ? S_OK : MAPI_W_ERRORS_RETURNED;
}

HRESULT GetPropListOf(PropertyHolder& holder, ULONG flags, SPropTagArray** tags) {
  if (!ClearOut(tags)) return MAPI_E_INVALID_PARAMETER;
  if (const HRESULT result = holder.Prepare(); Failed(result)) return result;
  std::vector<ULONG> all;
  if (const HRESULT result = holder.ListTags(all); Failed(result)) return result;
  std::erase_if(all, [](ULONG tag) { return IsHiddenId(PropId(tag)); });
  Chain chain;
  const auto count = static_cast<ULONG>(all.size());
  auto* array = static_cast<SPropTagArray*>(chain.Allocate(NewSizeSPropTagArray(count)));
  array->cValues = count;
  for (ULONG i = 0; i < count; ++i) {
    array->aulPropTag[i] = TagForCaller(all[i], (flags & MAPI_UNICODE) != 0);
  }
  *tags = chain.Detach<SPropTagArray>();
  return S_OK;
}

HRESULT SetPropsOf(PropertyHolder& holder, ULONG count, const SPropValue* values,
                   SPropProblemArray** problems) {
  if (problems != nullptr) *problems = nullptr;
  if (count == 0 || values == nullptr) return MAPI_E_INVALID_PARAMETER;
  if (const HRESULT result = holder.Prepare(); Failed(result)) return result;
  if (!holder.IsWritable()) return MAPI_E_NO_ACCESS;
  if (std::any_of(values, values + count, SpoilsCall)) return MAPI_E_INVALID_PARAMETER;

  Problems found;
  for (ULONG i = 0; i < count; ++i) {
    const ULONG tag = values[i].ulPropTag;
    if (tag == PR_NULL || PropType(tag) == PT_ERROR) continue;
    HRESULT result = MAPI_E_INVALID_TYPE;
    if (PropId(tag) != 0) result = holder.IsComputed(tag) ? MAPI_E_COMPUTED : holder.Set(values[i]);
    if (Failed(result)) found.Add(i, tag, result);
  }
  if (const HRESULT result = holder.FlushChanges(); Failed(result)) return result;
  found.HandOut(problems);
  return S_OK;
}

HRESULT DeletePropsOf(PropertyHolder& holder, const SPropTagArray* tags,
                      SPropProblemArray** problems) {
  if (problems != nullptr) *problems = nullptr;
  if (tags == nullptr || tags->cValues == 0) return MAPI_E_INVALID_PARAMETER;
  if (const HRESULT result = holder.Prepare(); Failed(result)) return result;
  if (!holder.IsWritable()) return MAPI_E_NO_ACCESS;
  Problems found;
  for (ULONG i = 0; i < tags->cValues; ++i) {
    const ULONG tag = tags->aulPropTag[i];
    const HRESULT result = holder.IsComputed(tag) ? MAPI_E_COMPUTED : holder.Remove(PropId(tag));
    if (Failed(result)) found.Add(i, tag, result);
  }
  if (const HRESULT result = holder.FlushChanges(); Failed(result)) return result;
  found.HandOut(problems);
  return S_OK;
}

}  // namespace parvane::mapi::builtin
