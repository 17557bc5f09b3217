#include "convert/message_streams.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "mapi/constants.h"
#include "mapi/identifiers.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "platform/code_pages/code_page.h"
#include "platform/simd/ascii.h"

namespace parvane::convert {

PropertyWriter::PropertyWriter(mapi::IMAPIProp& object, mapi::ULONG tag) : _tag(tag) {
  const mapi::HRESULT opened =
      object.OpenProperty(tag, &mapi::IID_IStream, mapi::STGM_WRITE,
                          mapi::MAPI_CREATE | mapi::MAPI_MODIFY, _stream.PutUnknown());
  _written = Taken(opened) && _stream;
}

bool PropertyWriter::Write(std::string_view bytes) {
  // One write, unless there is more than a call can state.
  constexpr std::size_t kMostPerCall = 0x40000000;
  while (_written && !bytes.empty()) {
    const auto count = static_cast<mapi::ULONG>(std::min(bytes.size(), kMostPerCall));
    mapi::ULONG done = 0;
    _written = Taken(_stream->Write(bytes.data(), count, &done));
    if (_written && done != count) _written = Taken(mapi::STG_E_MEDIUMFULL);
    bytes.remove_prefix(count);
  }
  return _written;
}

bool PropertyWriter::Commit() { return _stream && Taken(_stream->Commit(0)) && _written; }

bool PropertyWriter::Taken(mapi::HRESULT result) const {
  if (mapi::Failed(result)) mapi::NoteRefusal(result, _tag);
  return mapi::Succeeded(result);
}

bool WritePropertyStream(mapi::IMAPIProp& object, mapi::ULONG tag, std::string_view bytes) {
  PropertyWriter writer(object, tag);
  writer.Write(bytes);
  return writer.Commit();
}

bool WriteAsciiAsUtf16Stream(mapi::IMAPIProp& object, mapi::ULONG tag, std::string_view ascii) {
  PropertyWriter writer(object, tag);
  // In pieces that stay in the first-level cache between here and there.
  std::array<char16_t, 8192> wide;
  do {
    const std::size_t count = std::min(ascii.size(), wide.size());
    platform::simd::WidenAsciiPrefix(ascii.data(), count, wide.data());
    writer.Write({reinterpret_cast<const char*>(wide.data()), count * sizeof(char16_t)});
    ascii.remove_prefix(count);
  } while (!ascii.empty());
  return writer.Commit();
}

bool WriteUtf8AsUtf16Stream(mapi::IMAPIProp& object, mapi::ULONG tag, std::string_view utf8) {
  PropertyWriter writer(object, tag);
  platform::DecodeInPieces(platform::kCodePageUtf8, utf8, [&](std::u16string_view text) {
    writer.Write({reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)});
  });
  return writer.Commit();
}

}  // namespace parvane::convert
