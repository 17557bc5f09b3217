// IUnknown and the stream interfaces, as published.
//
// None of the interfaces has a virtual destructor, and no method name is overloaded: only so are
// the slots of the virtual tables the same for every compiler.
#pragma once

#include "mapi/structures.h"

namespace parvane::mapi {

class IUnknown {
 public:
  // Stores the object's face `riid` with a reference added, or null (E_NOINTERFACE).
  virtual HRESULT PARVANE_STDCALL QueryInterface(const IID& riid, void** ppvObj) = 0;
  // Both return the new count.
  virtual ULONG PARVANE_STDCALL AddRef() = 0;
  virtual ULONG PARVANE_STDCALL Release() = 0;

 protected:
  ~IUnknown() = default;
};

class ISequentialStream : public IUnknown {
 public:
  virtual HRESULT PARVANE_STDCALL Read(void* pv, ULONG cb, ULONG* pcbRead) = 0;
  virtual HRESULT PARVANE_STDCALL Write(const void* pv, ULONG cb, ULONG* pcbWritten) = 0;

 protected:
  ~ISequentialStream() = default;
};

class IStream : public ISequentialStream {
 public:
  virtual HRESULT PARVANE_STDCALL Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin,
                                       ULARGE_INTEGER* plibNewPosition) = 0;
  virtual HRESULT PARVANE_STDCALL SetSize(ULARGE_INTEGER libNewSize) = 0;
  virtual HRESULT PARVANE_STDCALL CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                         ULARGE_INTEGER* pcbWritten) = 0;
  virtual HRESULT PARVANE_STDCALL Commit(DWORD grfCommitFlags) = 0;
  virtual HRESULT PARVANE_STDCALL Revert() = 0;
  virtual HRESULT PARVANE_STDCALL LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb,
                                             DWORD dwLockType) = 0;
  virtual HRESULT PARVANE_STDCALL UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb,
                                               DWORD dwLockType) = 0;
  virtual HRESULT PARVANE_STDCALL Stat(STATSTG* pstatstg, DWORD grfStatFlag) = 0;
  virtual HRESULT PARVANE_STDCALL Clone(IStream** ppstm) = 0;

 protected:
  ~IStream() = default;
};

class IMAPIAdviseSink : public IUnknown {
 public:
  virtual ULONG PARVANE_STDCALL OnNotify(ULONG cNotif, NOTIFICATION* lpNotifications) = 0;

 protected:
  ~IMAPIAdviseSink() = default;
};

// Only passed through as pointers.
class IMAPIProgress;
class IProviderAdmin;

}  // namespace parvane::mapi
