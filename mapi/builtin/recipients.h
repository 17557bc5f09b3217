// The recipients of a message, as its object holds them.
#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "mapi/builtin/store_core.h"
#include "mapi/builtin/table.h"
#include "mapi/builtin/values.h"
#include "platform/recycled_vector.h"
#include "pstfile/ltp/packed_rows.h"
#include "pstfile/ltp/row_source.h"
#include "pstfile/ltp/table_reader.h"

namespace parvane::mapi::builtin {

// Rows in the order they were added; appending one costs the same however many there are. The first
// are held as they are, others packed, and out of memory where they are many.
class RecipientList final : public pstfile::RowSource {
 public:
  explicit RecipientList(StoreCore& core) : _core(&core) {}
  ~RecipientList() override { Clear(); }
  RecipientList(const RecipientList&) = delete;
  RecipientList& operator=(const RecipientList&) = delete;

  // IMessage::ModifyRecipients: all of `mods` or nothing.
  HRESULT Modify(ULONG flags, const ADRLIST& mods);
  // Takes over the rows of a message in the file.
  platform::Status Load(pstfile::TableReader& table);

  // Rows as they are stored, with the columns a provider adds.
  std::size_t RowCount() const override {
    return _rows.size() + (_packed ? _packed->positions.size() : 0);
  }
  platform::Result<const pstfile::PropertyList*> Row(std::size_t index) const override;
  ULONG RowId(std::size_t index) const {
    return index < _rows.size() ? _rows[index].id : _packed->IdOf(index - _rows.size());
  }

 private:
  struct Entry {
    ULONG id = 0;  // PR_ROWID
    pstfile::PropertyList properties;
  };
  struct Packed {
    // There may be millions: as long as none was taken out, their ids follow one another.
    ULONG IdOf(std::size_t index) const {
      return ids ? (*ids)[index] : firstId + static_cast<ULONG>(index);
    }
    void Erase(std::size_t index);

    ULONG firstId = 0;
    std::deque<std::uint64_t> positions;
    std::optional<std::deque<ULONG>> ids;
    pstfile::PackedRows rows;
    pstfile::PropertyList unpacked;  // the row read last
  };
  static constexpr std::size_t kNone = ~std::size_t{0};
  std::size_t IndexOfId(ULONG id) const;
  platform::Status Append(pstfile::PropertyList properties, bool spill);
  platform::Status Replace(std::size_t index, pstfile::PropertyList properties);
  void Erase(std::size_t index);
  void Clear();

  StoreCore* _core;
  platform::RecycledVector<Entry> _rows;
  std::unique_ptr<Packed> _packed;  // those behind them; null: none
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
