// IMessage and IAttach: both take effect only when saved, an attachment with its message.
#pragma once

#include "mapi/property_object.h"
#include "mapi/table.h"

namespace parvane::mapi {

class IAttach : public IMAPIProp {
 protected:
  ~IAttach() = default;
};

class IMessage : public IMAPIProp {
 public:
  virtual HRESULT PARVANE_STDCALL GetAttachmentTable(ULONG ulFlags, IMAPITable** lppTable) = 0;
  virtual HRESULT PARVANE_STDCALL OpenAttach(ULONG ulAttachmentNum, const IID* lpInterface,
                                             ULONG ulFlags, IAttach** lppAttach) = 0;
  virtual HRESULT PARVANE_STDCALL CreateAttach(const IID* lpInterface, ULONG ulFlags,
                                               ULONG* lpulAttachmentNum, IAttach** lppAttach) = 0;
  virtual HRESULT PARVANE_STDCALL DeleteAttach(ULONG ulAttachmentNum, ULONG_PTR ulUIParam,
                                               IMAPIProgress* lpProgress, ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL GetRecipientTable(ULONG ulFlags, IMAPITable** lppTable) = 0;
  virtual HRESULT PARVANE_STDCALL ModifyRecipients(ULONG ulFlags, ADRLIST* lpMods) = 0;
  virtual HRESULT PARVANE_STDCALL SubmitMessage(ULONG ulFlags) = 0;
  virtual HRESULT PARVANE_STDCALL SetReadFlag(ULONG ulFlags) = 0;

 protected:
  ~IMessage() = default;
};

}  // namespace parvane::mapi
