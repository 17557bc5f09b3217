// Implements IMAPIProp for an object with the face `Face`, leaving SaveChanges, OpenProperty and
// what PropertyHolder asks for to the object.
#pragma once

#include "mapi/builtin/object.h"
#include "mapi/builtin/properties.h"

namespace parvane::mapi::builtin {

template <typename Face>
class PropertyObject : public ExplainedObject<Face>, public PropertyHolder {
 public:
  HRESULT PARVANE_STDCALL GetProps(SPropTagArray* lpPropTagArray, ULONG ulFlags, ULONG* lpcValues,
                                   SPropValue** lppPropArray) override {
    return Guarded(
        [&] { return GetPropsOf(*this, lpPropTagArray, ulFlags, lpcValues, lppPropArray); });
  }
  HRESULT PARVANE_STDCALL GetPropList(ULONG ulFlags, SPropTagArray** lppPropTagArray) override {
    return Guarded([&] { return GetPropListOf(*this, ulFlags, lppPropTagArray); });
  }
  HRESULT PARVANE_STDCALL SetProps(ULONG cValues, SPropValue* lpPropArray,
                                   SPropProblemArray** lppProblems) override {
    return Guarded([&] { return SetPropsOf(*this, cValues, lpPropArray, lppProblems); });
  }
  HRESULT PARVANE_STDCALL DeleteProps(SPropTagArray* lpPropTagArray,
                                      SPropProblemArray** lppProblems) override {
    return Guarded([&] { return DeletePropsOf(*this, lpPropTagArray, lppProblems); });
  }
  HRESULT PARVANE_STDCALL CopyTo(ULONG, const IID*, SPropTagArray*, ULONG_PTR, IMAPIProgress*,
                                 const IID*, void*, ULONG,
                                 SPropProblemArray** lppProblems) override {
    if (lppProblems != nullptr) *lppProblems = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL CopyProps(SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*,
                                    ULONG, SPropProblemArray** lppProblems) override {
    if (lppProblems != nullptr) *lppProblems = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT PARVANE_STDCALL GetNamesFromIDs(SPropTagArray** lppPropTags, GUID* lpPropSetGuid,
                                          ULONG ulFlags, ULONG* lpcPropNames,
                                          MAPINAMEID*** lpppPropNames) override {
    return Guarded([&] {
      return GetNamesFromIdsOf(*this, lppPropTags, lpPropSetGuid, ulFlags, lpcPropNames,
                               lpppPropNames);
    });
  }
  HRESULT PARVANE_STDCALL GetIDsFromNames(ULONG cPropNames, MAPINAMEID** lppPropNames,
                                          ULONG ulFlags, SPropTagArray** lppPropTags) override {
    return Guarded(
        [&] { return GetIdsFromNamesOf(*this, cPropNames, lppPropNames, ulFlags, lppPropTags); });
  }
};

}  // namespace parvane::mapi::builtin
