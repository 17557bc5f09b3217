// What of a run needs somebody's attention, as a list that grows while the run goes on.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "app/json.h"
#include "desk/conversion_record.h"

namespace parvane::app {

class Attention {
 public:
  // Takes up what has come to the record since.
  void Look(const desk::ConversionRecord& record);
  // {"from", "items", "total"}: those from number `from` on.
  Json From(std::size_t from) const;

 private:
  struct Item {
    std::string place, text;
    const char* level;
  };
  // More than anybody reads; all of them are in the report.
  static constexpr std::size_t kMostItems = 5'000;
  static constexpr std::size_t kLists = 7;

  template <typename Entry>
  void Take(const desk::ConversionRecord& record, const desk::Listing<Entry>& list,
            std::size_t& seen, const char* level);

  std::vector<Item> _items;
  std::array<std::size_t, kLists> _seen{};
  std::array<std::size_t, engine::kRemarkKinds> _remarksSeen{};
  std::size_t _profilesSeen = 0;
  std::uint64_t _total = 0;
};

}  // namespace parvane::app
