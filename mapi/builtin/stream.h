// IStream on one property.
//
// What is written stays in memory while it is short; a long value goes to the file's free space as
// it comes, so that a message's parts need not fit into memory. It belongs to the object only once
// committed (or released), and to the file once the object is saved.
#pragma once

#include <optional>

#include "mapi/builtin/store_core.h"
#include "mapi/builtin/values.h"
#include "mapi/unknown.h"

namespace parvane::mapi::builtin {

// The object whose property a stream reads or writes. Tags are in stored form.
class StreamHost {
 public:
  // Kept alive by the stream.
  virtual IUnknown* Anchor() = 0;
  virtual StoreCore& Core() = 0;
  // The property as it stands: short values (and text still in memory) in `value`, others through
  // `reader`, with the tag in `value`.
  virtual HRESULT OpenValue(ULONG id, Value& value,
                            std::optional<pstfile::ValueReader>& reader) = 0;
  // Takes a value in place of the property's old one.
  virtual HRESULT InstallBytes(ULONG tag, std::span<const std::byte> bytes) = 0;
  virtual HRESULT InstallStored(ULONG tag, const pstfile::StoredValue& stored) = 0;
  virtual unsigned StreamCodePage() = 0;

 protected:
  ~StreamHost() = default;
};

// OpenProperty with IID_IStream; `writable` when the object may be modified.
HRESULT OpenPropertyStream(StreamHost& host, ULONG tag, ULONG options, ULONG flags, bool writable,
                           IStream** out);

}  // namespace parvane::mapi::builtin
