// An object of another MAPI that does nothing it is asked for; a fake overrides what it is about.
#pragma once

#include "mapi/message.h"
#include "mapi/property_object.h"
#include "mapi/results.h"

namespace parvane::mapi {

template <typename Face = IMAPIProp>
class UnwillingObject : public Face {
 public:
  HRESULT PARVANE_STDCALL QueryInterface(const IID&, void**) override { return E_FAIL; }
  ULONG PARVANE_STDCALL AddRef() override { return 1; }
  ULONG PARVANE_STDCALL Release() override { return 1; }
  HRESULT PARVANE_STDCALL GetLastError(HRESULT, ULONG, MAPIERROR**) override { return E_FAIL; }
  HRESULT PARVANE_STDCALL SaveChanges(ULONG) override { return E_FAIL; }
  HRESULT PARVANE_STDCALL GetProps(SPropTagArray*, ULONG, ULONG*, SPropValue**) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL GetPropList(ULONG, SPropTagArray**) override { return E_FAIL; }
  HRESULT PARVANE_STDCALL SetProps(ULONG, SPropValue*, SPropProblemArray**) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL OpenProperty(ULONG, const IID*, ULONG, ULONG, IUnknown**) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL DeleteProps(SPropTagArray*, SPropProblemArray**) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL CopyTo(ULONG, const IID*, SPropTagArray*, ULONG_PTR, IMAPIProgress*,
                                 const IID*, void*, ULONG, SPropProblemArray**) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL CopyProps(SPropTagArray*, ULONG_PTR, IMAPIProgress*, const IID*, void*,
                                    ULONG, SPropProblemArray**) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL GetNamesFromIDs(SPropTagArray**, GUID*, ULONG, ULONG*,
                                          MAPINAMEID***) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL GetIDsFromNames(ULONG, MAPINAMEID**, ULONG, SPropTagArray**) override {
    return E_FAIL;
  }
};

class UnwillingMessage : public UnwillingObject<IMessage> {
 public:
  HRESULT PARVANE_STDCALL GetAttachmentTable(ULONG, IMAPITable**) override { return E_FAIL; }
  HRESULT PARVANE_STDCALL OpenAttach(ULONG, const IID*, ULONG, IAttach**) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL CreateAttach(const IID*, ULONG, ULONG*, IAttach**) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL DeleteAttach(ULONG, ULONG_PTR, IMAPIProgress*, ULONG) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL GetRecipientTable(ULONG, IMAPITable**) override { return E_FAIL; }
  HRESULT PARVANE_STDCALL ModifyRecipients(ULONG, ADRLIST*) override { return E_FAIL; }
  HRESULT PARVANE_STDCALL SubmitMessage(ULONG) override { return E_FAIL; }
  HRESULT PARVANE_STDCALL SetReadFlag(ULONG) override { return E_FAIL; }
};

}  // namespace parvane::mapi
