// New values for header fields, collected while they are worked out, with what was found on the
// way, and written in one go.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "mime/header_facts.h"
#include "mime/mime_message2.h"

namespace parvane::sources {

// For at most kMost fields that are there, each named once.
class FieldChanges {
 public:
  static constexpr std::size_t kMost = Tessary::kAddressFields.size() + 1;  // and the date

  FieldChanges() { _values.reserve(768); }

  // Calls `append` with the string that the value is to be appended to.
  template <typename Append>
  void Add(std::string_view name, Append append) {
    append(_values);
    _changes[_count++] = {name, {}};
    _ends[_count - 1] = _values.size();
  }

  // What is known of the new values.
  Tessary::HeaderFacts& facts() { return *_facts; }

  // Once.
  void ApplyTo(Tessary::MimeMessage2& entity, std::shared_ptr<std::string> buffer = nullptr) {
    if (_count == 0) return;
    std::size_t start = 0;
    for (std::size_t i = 0; i < _count; ++i) {
      _changes[i].value = std::string_view(_values).substr(start, _ends[i] - start);
      start = _ends[i];
    }
    entity.RewriteFields(std::span(_changes).first(_count), std::move(buffer), std::move(_facts));
  }

 private:
  std::unique_ptr<Tessary::HeaderFacts> _facts = std::make_unique<Tessary::HeaderFacts>();
  std::string _values;
  std::array<Tessary::FieldChange, kMost> _changes;
  std::array<std::size_t, kMost> _ends;
  std::size_t _count = 0;
};

}  // namespace parvane::sources
