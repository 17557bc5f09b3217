// IMAPIProp: what every object with properties can do. Strings, arrays and structures passed in
// stay the caller's; what comes back is MAPI memory (MAPIFreeBuffer). Out pointers are null on
// failure.
#pragma once

#include "mapi/unknown.h"

namespace parvane::mapi {

class IMAPIProp : public IUnknown {
 public:
  virtual HRESULT PARVANE_STDCALL GetLastError(HRESULT hResult, ULONG ulFlags,
                                               MAPIERROR** lppMAPIError) = 0;
  virtual HRESULT PARVANE_STDCALL SaveChanges(ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL GetProps(SPropTagArray* lpPropTagArray, ULONG ulFlags,
                                           ULONG* lpcValues, SPropValue** lppPropArray) = 0;
  virtual HRESULT PARVANE_STDCALL GetPropList(ULONG ulFlags, SPropTagArray** lppPropTagArray) = 0;
  virtual HRESULT PARVANE_STDCALL OpenProperty(ULONG ulPropTag, const IID* lpiid,
                                               ULONG ulInterfaceOptions, ULONG ulFlags,
                                               IUnknown** lppUnk) = 0;
  virtual HRESULT PARVANE_STDCALL SetProps(ULONG cValues, SPropValue* lpPropArray,
                                           SPropProblemArray** lppProblems) = 0;
  virtual HRESULT PARVANE_STDCALL DeleteProps(SPropTagArray* lpPropTagArray,
                                              SPropProblemArray** lppProblems) = 0;
  virtual HRESULT PARVANE_STDCALL CopyTo(ULONG ciidExclude, const IID* rgiidExclude,
                                         SPropTagArray* lpExcludeProps, ULONG_PTR ulUIParam,
                                         IMAPIProgress* lpProgress, const IID* lpInterface,
                                         void* lpDestObj, ULONG ulFlags,
                                         SPropProblemArray** lppProblems) = 0;
  virtual HRESULT PARVANE_STDCALL CopyProps(SPropTagArray* lpIncludeProps, ULONG_PTR ulUIParam,
                                            IMAPIProgress* lpProgress, const IID* lpInterface,
                                            void* lpDestObj, ULONG ulFlags,
                                            SPropProblemArray** lppProblems) = 0;
  virtual HRESULT PARVANE_STDCALL GetNamesFromIDs(SPropTagArray** lppPropTags, GUID* lpPropSetGuid,
                                                  ULONG ulFlags, ULONG* lpcPropNames,
                                                  MAPINAMEID*** lpppPropNames) = 0;
  virtual HRESULT PARVANE_STDCALL GetIDsFromNames(ULONG cPropNames, MAPINAMEID** lppPropNames,
                                                  ULONG ulFlags, SPropTagArray** lppPropTags) = 0;

 protected:
  ~IMAPIProp() = default;
};

// A section of a profile. Writes take effect at once.
class IProfSect : public IMAPIProp {
 protected:
  ~IProfSect() = default;
};

}  // namespace parvane::mapi
