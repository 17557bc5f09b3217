// What all COM objects of the built-in MAPI share: the reference count, QueryInterface and the
// barrier that no exception passes.
#pragma once

#include <new>
#include <utility>

#include "mapi/diagnostics_recorder.h"
#include "mapi/identifiers.h"
#include "mapi/results.h"
#include "mapi/unknown.h"
#include "platform/stage_times.h"

namespace parvane::mapi::builtin {

// Runs a method's body; running out of memory and surprises become results.
template <typename Body>
HRESULT Guarded(Body&& body) noexcept {
  const platform::StageMark mark(platform::Stage::kMapi);
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc&) {
    return MAPI_E_NOT_ENOUGH_MEMORY;
  } catch (...) {
    return MAPI_E_CALL_FAILED;
  }
}

// Sets an out parameter to null (or 0) at the start of a method; false when it is missing.
template <typename T>
bool ClearOut(T* out) {
  if (out == nullptr) return false;
  *out = T{};
  return true;
}

// Implements IUnknown for an object with the face `Face`. Objects start with one reference, which
// belongs to whoever made them, and are counted (LiveObjects). The virtual destructor comes after
// the published slots.
template <typename Face>
class Object : public Face {
 public:
  Object() { CountObjects(1); }
  virtual ~Object() { CountObjects(-1); }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  HRESULT PARVANE_STDCALL QueryInterface(const IID& riid, void** ppvObj) override {
    if (!ClearOut(ppvObj)) return MAPI_E_INVALID_PARAMETER;
    if (!(riid == IID_IUnknown) && !Implements(riid)) return E_NOINTERFACE;
    AddRef();
    *ppvObj = static_cast<Face*>(this);
    return S_OK;
  }
  ULONG PARVANE_STDCALL AddRef() override { return ++_references; }
  ULONG PARVANE_STDCALL Release() override {
    const ULONG left = --_references;
    if (left == 0) {
      const platform::StageMark mark(platform::Stage::kMapi);
      delete this;
    }
    return left;
  }

  // Whether the object has this face, IUnknown aside.
  virtual bool Implements(const IID& iid) const = 0;

 private:
  ULONG _references = 1;
};

// Object for the faces that can be asked about their last error, which is nearly all of them: there
// is never more to say than the result said. Why something failed is in mapi/diagnostics.h.
template <typename Face>
class ExplainedObject : public Object<Face> {
 public:
  HRESULT PARVANE_STDCALL GetLastError(HRESULT, ULONG, MAPIERROR** lppMAPIError) override {
    return ClearOut(lppMAPIError) ? S_OK : MAPI_E_INVALID_PARAMETER;
  }
};

// Hands a new object out through an out parameter of another face when the caller's choice of
// interface (null: the object's own) is one it has; otherwise the object goes.
template <typename T, typename Out>
HRESULT HandOut(T* object, const IID* wanted, Out** out) {
  if (wanted != nullptr && !(*wanted == IID_IUnknown) && !object->Implements(*wanted)) {
    object->Release();
    return MAPI_E_INTERFACE_NOT_SUPPORTED;
  }
  *out = object;
  return S_OK;
}

}  // namespace parvane::mapi::builtin
