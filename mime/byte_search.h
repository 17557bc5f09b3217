// Searching long byte strings for a short one at memory speed.
//
// Positions where the needle's first and last byte both fit are found many at a time, in a loop
// that compilers turn into vector instructions; only those are compared in full. A long needle,
// which could make those comparisons costly, is searched for with a table instead, so that no
// input takes more than linear time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace parvane::mime {

class ByteSearcher {
 public:
  // An empty needle is never found.
  explicit ByteSearcher(std::string needle);

  const std::string& needle() const { return _needle; }
  // The first position at or after `from`, npos when there is none.
  std::size_t Find(std::string_view text, std::size_t from = 0) const;

 private:
  // Longer needles use the table.
  static constexpr std::size_t kLongNeedle = 256;

  std::size_t FindByFilter(std::string_view text, std::size_t from) const;
  std::size_t FindByTable(std::string_view text, std::size_t from) const;

  std::string _needle;
  // For each prefix length of a long needle, that of its longest proper prefix which is also its
  // suffix (Knuth, Morris, Pratt).
  std::vector<std::size_t> _border;
};

// True when two line feeds stand side by side anywhere.
bool HasDoubleLineFeed(std::string_view text);

}  // namespace parvane::mime
