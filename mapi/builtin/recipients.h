// The recipients of a message, as its object holds them.
#pragma once

#include <vector>

#include "mapi/builtin/table.h"
#include "mapi/builtin/values.h"
#include "platform/recycled_vector.h"
#include "pstfile/ltp/table_reader.h"
#include "pstfile/store/message_parts.h"

namespace parvane::mapi::builtin {

// Rows in the order they were added; appending one costs the same however many there are.
class RecipientList final : public pstfile::RowSource {
 public:
  // IMessage::ModifyRecipients: all of `mods` or nothing.
  HRESULT Modify(ULONG flags, const ADRLIST& mods);
  // Takes over the rows of a message in the file.
  platform::Status Load(pstfile::TableReader& table);

  // The display names of recipients of one type, joined by "; ".
  std::u16string DisplayNames(ULONG type) const;

  // Rows as they are stored, with the columns a provider adds.
  std::size_t RowCount() const override { return _rows.size(); }
  const pstfile::PropertyList& Row(std::size_t index) const override {
    return _rows[index].properties;
  }
  ULONG RowId(std::size_t index) const { return _rows[index].id; }

 private:
  struct Entry {
    ULONG id = 0;  // PR_ROWID
    pstfile::PropertyList properties;
  };
  Entry* EntryWithId(ULONG id);

  std::vector<Entry> _rows;
  ULONG _nextId = 0;
};

// In any letter case.
bool IsSmtp(std::u16string_view type);
// "SMTP:ADDRESS" with its terminator, in upper case and 8-bit characters.
platform::RecycledVector<std::byte> AddressSearchKey(std::u16string_view type,
                                                     std::u16string_view address);

// The columns of a recipient table.
std::vector<ULONG> RecipientColumns();

}  // namespace parvane::mapi::builtin
