// The properties of a message or an attachment: what is in the file, under what was changed since
// the object was last saved.
#pragma once

#include <optional>
#include <vector>

#include "mapi/builtin/store_core.h"
#include "mapi/builtin/values.h"

namespace parvane::mapi::builtin {

// One property out of the file, in the type it is stored with.
HRESULT FindInFile(StoreCore& core, pstfile::PropertyReader& reader, ULONG id, Value& value);
// As above; a value too long for GetProps comes as a reader.
HRESULT OpenInFile(StoreCore& core, pstfile::PropertyReader& reader, ULONG id, Value& value,
                   std::optional<pstfile::ValueReader>& valueReader);

// `base`, in these functions, reads what is in the file; null when there is nothing yet.
class TransactedProperties final : private LargeValueTaker {
 public:
  explicit TransactedProperties(StoreCore& core) : _core(core) {}
  ~TransactedProperties() { Forget(); }
  TransactedProperties(const TransactedProperties&) = delete;
  TransactedProperties& operator=(const TransactedProperties&) = delete;

  bool modified() const { return !_set.empty() || !_removed.empty(); }
  // What was set, for reading.
  const pstfile::PropertyList& set() const { return _set; }
  bool IsRemoved(ULONG id) const;

  // For the properties of a message rather than of an attachment.
  void ReserveForMessage() { _set.ReserveForMessage(); }

  HRESULT Set(const SPropValue& value, unsigned htmlCodePage);
  void SetScalar(ULONG tag, std::uint64_t bits);
  void SetText(ULONG tag, std::u16string_view text);
  void SetBytes(ULONG tag, std::span<const std::byte> bytes);
  void SetStored(ULONG tag, const pstfile::StoredValue& stored);
  HRESULT Remove(ULONG id, pstfile::PropertyReader* base);

  HRESULT Find(ULONG id, pstfile::PropertyReader* base, Value& value);
  HRESULT Open(ULONG id, pstfile::PropertyReader* base, Value& value,
               std::optional<pstfile::ValueReader>& reader);
  // Tags of both, objects (PT_OBJECT) included.
  void ListTags(pstfile::PropertyReader* base, std::vector<ULONG>& tags) const;

  // Everything in one list, for a new version of the object: long values of the file are shared,
  // not copied. On success this holds nothing any more; on failure the list holds nothing that
  // must be given back. Objects (PT_OBJECT) are left out.
  HRESULT Assemble(pstfile::PropertyReader* base, pstfile::PropertyList& list);

 private:
  HRESULT TakeLarge(pstfile::PropTag tag, std::span<const std::byte> bytes) override;
  HRESULT TakeLargeAnsi(pstfile::PropTag tag, std::string_view text) override;
  template <typename Append>
  HRESULT TakeIntoFile(pstfile::PropTag tag, Append&& append);
  void BeforeSetting(ULONG id);
  void Forget();

  StoreCore& _core;
  pstfile::PropertyList _set;
  std::vector<std::uint16_t> _removed;  // ids of properties of the file
  std::size_t _storedValues = 0;        // of `_set`, to be given back unless used
};

}  // namespace parvane::mapi::builtin
