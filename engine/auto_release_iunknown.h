// A scope guard for one MAPI object.
#pragma once

#include "mapi/unknown.h"

namespace QuelmarMIMEEngineCommon {

// Releases the object when its scope ends, also when an error passes through. Null is allowed.
class AutoReleaseIUnknown {
 public:
  explicit AutoReleaseIUnknown(parvane::mapi::IUnknown* object) : _object(object) {}
  ~AutoReleaseIUnknown() {
    if (_object) _object->Release();
  }
  AutoReleaseIUnknown(const AutoReleaseIUnknown&) = delete;
  AutoReleaseIUnknown& operator=(const AutoReleaseIUnknown&) = delete;

 private:
  parvane::mapi::IUnknown* _object;
};

}  // namespace QuelmarMIMEEngineCommon
