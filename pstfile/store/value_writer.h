// Streams one value into the file, without holding more of it than two blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "platform/status.h"
#include "pstfile/ltp/property_list.h"

namespace parvane::pstfile {

class PstStore;

// From PstStore::NewValue. Dropped without Finish, it gives its blocks back. Must not outlive its
// store.
class ValueWriter {
 public:
  // kText: the bytes are UTF-16LE; an unpaired surrogate becomes U+FFFD, also where a pair is split
  // between two calls, and a trailing odd byte is dropped.
  enum class Kind { kBytes, kText };

  ValueWriter(ValueWriter&&) noexcept;
  ValueWriter& operator=(ValueWriter&&) noexcept;
  ~ValueWriter();

  // kTooBig once the value would reach 2 GiB; nothing of that call is taken then.
  platform::Status Append(std::span<const std::byte> bytes);
  platform::Status AppendText(std::u16string_view text);
  std::uint64_t size() const;
  // Ends the value. The reference in the result belongs to the caller.
  platform::Result<StoredValue> Finish();

 private:
  friend class PstStore;
  struct State;
  explicit ValueWriter(std::unique_ptr<State> state);
  std::unique_ptr<State> _state;
};

}  // namespace parvane::pstfile
