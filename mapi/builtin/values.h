// Property values between MAPI's structures and the form in which the file stores them.
//
// Stored form: numbers as 64 raw bits; text as UTF-16LE without terminator; multi-values as the
// format packs them. 8-bit text is never stored: it becomes UTF-16 by the ANSI code page on its way
// in, except in an HTML body, whose bytes are kept as they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mapi/builtin/memory.h"
#include "mapi/structures.h"
#include "mapi/tags.h"
#include "pstfile/ltp/property_list.h"

namespace parvane::mapi::builtin {

inline constexpr ULONG kHtmlId = 0x1013;
// The largest value that GetProps and table rows return; longer ones are read through a stream.
inline constexpr std::uint64_t kLargestReturnedValue = 1u << 20;

// Of HTML bytes in a message that does not say (PR_INTERNET_CPID).
inline constexpr unsigned kDefaultHtmlCodePage = 65001;

// Ids that name nothing, and those that providers keep to themselves.
constexpr bool IsHiddenId(ULONG id) {
  return id == 0 || id >= 0xFFFF || (id >= 0x67F0 && id <= 0x67FF);
}

inline pstfile::PropTag ToTag(ULONG tag) { return pstfile::PropTag(tag); }

// One value on its way out. Either a view of bytes that live as long as its source is left alone,
// or bytes of its own.
struct Value {
  ULONG tag = 0;             // the stored type, or that of a computed value
  std::uint64_t scalar = 0;  // raw bits of a number
  std::span<const std::byte> bytes;
  std::vector<std::byte> storage;  // what `bytes` views, when they are its own
  bool large = false;              // there, but too large to be returned: neither bytes nor scalar

  void SetScalar(ULONG newTag, std::uint64_t bits);
  void SetBytes(ULONG newTag, std::span<const std::byte> copied);
  void SetOwned(ULONG newTag, std::vector<std::byte> owned);
  void SetText(ULONG newTag, std::u16string_view text);
};

// Takes the values that are too large for GetProps, so that they are not copied in memory: the
// bytes as they are stored.
class LargeValueTaker {
 public:
  virtual HRESULT TakeLarge(pstfile::PropTag tag, std::span<const std::byte> bytes) = 0;
  // Text in the process's ANSI code page.
  virtual HRESULT TakeLargeAnsi(pstfile::PropTag tag, std::string_view text) = 0;

 protected:
  ~LargeValueTaker() = default;
};
// Puts a caller's value into a list, in stored form. INVALID_TYPE, UNEXPECTED_TYPE... when this
// property cannot be stored; PT_NULL, PT_ERROR and PT_OBJECT are the caller's business.
// `htmlCodePage` is the one of HTML bytes, should the value be HTML in UTF-16. Text and binaries
// that are large go to `taker`, where there is one.
HRESULT StoreValue(const SPropValue& value, unsigned htmlCodePage, pstfile::PropertyList& list,
                   LargeValueTaker* taker = nullptr);
// The tag under which a caller's tag is stored: 001E becomes 001F, an HTML body 10130102.
ULONG StoredTag(ULONG tag);

// Fills in a result for a requested tag (its type may be PT_UNSPECIFIED) from a stored value.
// Memory comes from `chain`. `htmlCodePage` is the one of HTML bytes. False when the result is an
// error value.
bool ReturnValue(const Value& value, ULONG requestedTag, bool unicode, unsigned htmlCodePage,
                 Chain& chain, SPropValue& result);
// An error in place of a value.
void ReturnError(ULONG requestedTag, SCODE error, SPropValue& result);
// A tag as the caller sees it: text types by his choice of width.
ULONG TagForCaller(ULONG storedTag, bool unicode);

// ---- Text ----

std::u16string_view ViewText(std::span<const std::byte> bytes, std::u16string& scratch);
// A string argument of a method, by its flags; empty when null.
std::u16string TextArgument(LPTSTR text, ULONG flags);

std::uint64_t TimeBits(FILETIME time);

}  // namespace parvane::mapi::builtin
