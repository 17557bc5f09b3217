#include "convert/message_streams.h"

#include <algorithm>
#include <cstddef>

#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/identifiers.h"

namespace parvane::convert {

bool WritePropertyStream(mapi::IMAPIProp& object, mapi::ULONG tag, std::string_view bytes) {
  mapi::ComPointer<mapi::IStream> stream;
  const mapi::HRESULT opened =
      object.OpenProperty(tag, &mapi::IID_IStream, mapi::STGM_WRITE,
                          mapi::MAPI_CREATE | mapi::MAPI_MODIFY, stream.PutUnknown());
  if (mapi::Failed(opened) || !stream) return false;

  // One write, unless there is more than a call can state.
  constexpr std::size_t kMostPerCall = 0x40000000;
  bool written = true;
  do {
    const auto count = static_cast<mapi::ULONG>(std::min(bytes.size(), kMostPerCall));
    mapi::ULONG done = 0;
    written = mapi::Succeeded(stream->Write(bytes.data(), count, &done)) && done == count;
    bytes.remove_prefix(count);
  } while (written && !bytes.empty());
  return mapi::Succeeded(stream->Commit(0)) && written;
}

}  // namespace parvane::convert
