// What a MAPI did not take of one message.
//
// Whoever writes a message property by property does not examine MAPI's results: what is refused is
// missing. Who must account for the message keeps a log while it is written. It works with any MAPI
// alike, because those who call MAPI note what they see.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mapi/types.h"

namespace parvane::mapi {

struct Refusal {
  ULONG tag = 0;  // of the property or table (PR_MESSAGE_RECIPIENTS...); 0: of several
  HRESULT result = 0;
  std::u16string file;      // the attachment's name; empty where it has none or is not meant
  std::uint32_t count = 1;  // of equal ones
};

// While it lives, it takes what is noted on its thread; one inside another takes it alone. Bounded:
// beyond a hundred kinds, only their number is kept.
class RefusalLog {
 public:
  RefusalLog();
  ~RefusalLog();
  RefusalLog(const RefusalLog&) = delete;
  RefusalLog& operator=(const RefusalLog&) = delete;

  std::vector<Refusal> Take() { return std::move(_refusals); }

 private:
  friend void NoteRefusal(HRESULT result, ULONG tag) noexcept;
  friend void RefusalsConcern(std::u16string_view file);
  void Add(HRESULT result, ULONG tag);

  RefusalLog* _outer;
  std::u16string _file;
  std::vector<Refusal> _refusals;
};

// For whoever writes a property or a table and does not hand the result on. Nothing without a log.
// What MAPI computes by itself (MAPI_E_COMPUTED) is no loss.
void NoteRefusal(HRESULT result, ULONG tag) noexcept;
// From here on the attachment of this file name is being written; empty: the message itself.
void RefusalsConcern(std::u16string_view file);

}  // namespace parvane::mapi
