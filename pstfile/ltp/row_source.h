// Rows of a table that is about to be written, wherever they are kept.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/status.h"
#include "pstfile/ltp/property_list.h"

namespace parvane::pstfile {

class RowSource {
 public:
  virtual ~RowSource() = default;
  virtual std::size_t RowCount() const = 0;
  // The cells of a row, until the next call.
  virtual platform::Result<const PropertyList*> Row(std::size_t index) const = 0;
  // What the table knows the row by.
  virtual std::uint32_t RowKey(std::size_t index) const {
    return static_cast<std::uint32_t>(index + 1);
  }
};

// Rows held as property lists.
class ListRowSource final : public RowSource {
 public:
  explicit ListRowSource(std::span<const PropertyList> rows) : _rows(rows) {}
  std::size_t RowCount() const override { return _rows.size(); }
  platform::Result<const PropertyList*> Row(std::size_t index) const override {
    return &_rows[index];
  }

 private:
  std::span<const PropertyList> _rows;
};

}  // namespace parvane::pstfile
