// What a MAPI that is not ours may do to a stream.
#include "convert/message_streams.h"

#include <gtest/gtest.h>

#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"
#include "tests/support/unwilling_object.h"

namespace parvane::convert {
namespace {

using namespace mapi;

// An object with one property, whose stream takes `room` bytes.
class Narrow : public UnwillingObject<>, public IStream {
 public:
  explicit Narrow(std::size_t room) : _room(room) {}
  std::string taken;

  HRESULT PARVANE_STDCALL OpenProperty(ULONG, const IID*, ULONG, ULONG, IUnknown** out) override {
    *out = static_cast<IStream*>(this);
    return S_OK;
  }
  HRESULT PARVANE_STDCALL Write(const void* bytes, ULONG count, ULONG* done) override {
    *done = static_cast<ULONG>(std::min<std::size_t>(count, _room - taken.size()));
    taken.append(static_cast<const char*>(bytes), *done);
    return S_OK;
  }
  HRESULT PARVANE_STDCALL Commit(DWORD) override { return S_OK; }

  HRESULT PARVANE_STDCALL QueryInterface(const IID&, void**) override { return E_FAIL; }
  ULONG PARVANE_STDCALL AddRef() override { return 2; }
  ULONG PARVANE_STDCALL Release() override { return 1; }
  HRESULT PARVANE_STDCALL Read(void*, ULONG, ULONG*) override { return E_FAIL; }
  HRESULT PARVANE_STDCALL Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) override { return E_FAIL; }
  HRESULT PARVANE_STDCALL SetSize(ULARGE_INTEGER) override { return E_FAIL; }
  using UnwillingObject::CopyTo;
  HRESULT PARVANE_STDCALL CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*,
                                 ULARGE_INTEGER*) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL Revert() override { return E_FAIL; }
  HRESULT PARVANE_STDCALL LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return E_FAIL;
  }
  HRESULT PARVANE_STDCALL Stat(STATSTG*, DWORD) override { return E_FAIL; }
  HRESULT PARVANE_STDCALL Clone(IStream**) override { return E_FAIL; }

 private:
  std::size_t _room;
};

TEST(MessageStreams, TellWhenOnlyAPartWasTaken) {
  for (const std::size_t room : {4u, 5u}) {
    RefusalLog refusals;
    Narrow narrow(room);
    EXPECT_EQ(WritePropertyStream(narrow, PR_BODY_W, "12345"), room == 5) << room;
    EXPECT_EQ(narrow.taken, std::string("12345").substr(0, room));
    EXPECT_EQ(refusals.Take().size(), 5 - room);
  }
}

}  // namespace
}  // namespace parvane::convert
