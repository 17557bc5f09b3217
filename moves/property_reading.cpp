#include "moves/property_reading.h"

#include <memory>
#include <string>

#include "mapi/com_pointer.h"
#include "mapi/identifiers.h"

namespace parvane::moves {

using mapi::ComPointer;
using mapi::HRESULT;
using mapi::IMAPIProp;
using mapi::ULONG;

namespace {

constexpr ULONG kPiece = 65'536;

}  // namespace

bool ReadProperty(IMAPIProp& object, ULONG tag, const std::function<bool(std::string_view)>& take) {
  ComPointer<mapi::IStream> stream;
  const HRESULT opened = object.OpenProperty(tag, &mapi::IID_IStream, 0, 0, stream.PutUnknown());
  if (mapi::Failed(opened) || !stream) return opened == mapi::MAPI_E_NOT_FOUND;
  const auto buffer = std::make_unique_for_overwrite<char[]>(kPiece);
  for (;;) {
    ULONG read = 0;
    if (mapi::Failed(stream->Read(buffer.get(), kPiece, &read))) return false;
    if (read == 0 || !take(std::string_view(buffer.get(), read))) return true;
  }
}

bool ReadText(IMAPIProp& object, ULONG tag, const std::function<bool(std::u16string_view)>& take) {
  std::u16string text;
  std::string half;  // of a character, at the end of a piece
  return ReadProperty(object, tag, [&](std::string_view bytes) {
    std::string joined;
    if (!half.empty()) bytes = joined = half.append(bytes);
    text.resize(bytes.size() / 2);
    for (std::size_t i = 0; i < text.size(); ++i) {
      text[i] = static_cast<char16_t>(static_cast<unsigned char>(bytes[2 * i]) |
                                      static_cast<unsigned char>(bytes[2 * i + 1]) << 8);
    }
    half = bytes.substr(2 * text.size());
    return take(text);
  });
}

}  // namespace parvane::moves
