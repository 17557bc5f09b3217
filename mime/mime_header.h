// The header of one MIME entity: an ordered list of fields that are views of the message.
//
//   header := *line                         up to the first empty line, which is not part of it
//   field  := name *WSP ":" [" "] value     at the start of a line
//   value  := *byte *(line-end WSP *byte)   goes on over lines that begin with a space or tab
//
// A line that is no field (no colon, or a name with a space inside, as a stray "From " line has)
// and what continues it stays where it is for serialising, and is no field for lookups.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <forward_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pooled_object.h"
#include "platform/recycled_vector.h"
#include "platform/text.h"

namespace Tessary {

// A name and a value. Looks into bytes that the entity keeps alive.
class MimeField {
 public:
  // No header has a line of 4 GiB; a file that claims so keeps the beginning of it.
  MimeField(std::string_view raw, std::size_t nameLength, std::size_t valueStart)
      : _raw(raw.data()),
        _length(static_cast<std::uint32_t>(std::min(raw.size(), kMostBytes))),
        _nameLength(static_cast<std::uint32_t>(nameLength)),
        _valueStart(static_cast<std::uint32_t>(valueStart)),
        _key(KeyOf(raw.substr(0, nameLength))) {}

  std::string_view Name() const { return {_raw, _nameLength}; }
  bool NameIs(std::string_view name) const { return NameIs(name, KeyOf(name)); }
  // The same with the name's key known.
  bool NameIs(std::string_view name, std::uint32_t key) const {
    return key == _key && key != 0 && name.size() == _nameLength &&
           parvane::platform::EqualsIgnoreAsciiCase(Name(), name);
  }
  // Equal for names that differ in case only, and for few others; 0 for no name.
  static constexpr std::uint32_t KeyOf(std::string_view name) {
    if (name.empty()) return 0;
    const auto letter = [&](std::size_t at) {
      return static_cast<std::uint32_t>(static_cast<unsigned char>(name[at]) | 0x20);
    };
    return letter(0) | letter(name.size() / 2) << 8 | letter(name.size() - 1) << 16 |
           static_cast<std::uint32_t>(name.size() & 0xFF) << 24;
  }
  // False for a line that has its place in the header but is no field.
  bool IsField() const { return _nameLength > 0; }
  // The value as it stands, without the last line end: folds are still in it.
  std::string_view RawValue() const;
  // Unfolded: every line end before a space or tab is removed, the space or tab stays. A view of
  // the message where nothing had to be removed, else of `scratch`.
  std::string_view Value(std::string& scratch) const;
  // The whole field, its last line end included.
  std::string_view Raw() const { return {_raw, _length}; }

 private:
  friend class MimeHeader;
  static constexpr std::size_t kMostBytes = 0xFFFFFFF0;  // a line end may be added

  const char* _raw;
  std::uint32_t _length;
  std::uint32_t _nameLength;
  std::uint32_t _valueStart;
  std::uint32_t _key;
};

// A field that is to get another value.
struct FieldChange {
  std::string_view name;
  std::string_view value;
};

// Removes the CR LF, CR or LF in front of every space or tab. The result is `value` itself where
// there is none, else `scratch`.
std::string_view Unfold(std::string_view value, std::string& scratch);

class MimeHeader {
 public:
  // Indexes `text`, which must outlive the header, up to its first empty line or its end; there is
  // room for `usualLines` at once. Returns the header's length, without the empty line.
  std::size_t Load(std::string_view text, std::size_t usualLines = 4);
  void Clear();

  // Every line in stored order, with those that are no field.
  const std::vector<MimeField>& Lines() const { return _lines; }
  bool HasFields() const {
    return std::any_of(_lines.begin(), _lines.end(), [](const auto& l) { return l.IsField(); });
  }
  std::size_t FieldCount() const { return Order().size(); }
  // In stored order.
  const MimeField& Field(std::size_t index) const { return _lines[Order()[index]]; }
  // False when there is certainly no field of that name.
  bool MayHave(std::string_view name) const {
    return !name.empty() && (_names & NameBit(MimeField::KeyOf(name))) != 0;
  }
  // The nth field of that name, counted from the top, without regard to case; null when there is
  // none.
  const MimeField* Find(std::string_view name, std::size_t occurrence = 0) const;
  // Calls `take` with every field of that name, from the top.
  template <typename Take>
  void ForEach(std::string_view name, Take take) const {
    const std::uint32_t key = MimeField::KeyOf(name);
    if (!MayHave(name)) return;
    for (std::size_t i = FirstPlace(NameSlot(key)); i < _lines.size(); ++i) {
      if (_lines[i].NameIs(name, key)) take(_lines[i]);
    }
  }

  // The same for several names in one pass: `take` gets the place of the name among them, too.
  template <std::size_t Count, typename Take>
  void ForEach(const std::array<std::string_view, Count>& names, Take take) const {
    std::array<std::uint32_t, Count> keys;
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < Count; ++i) {
      keys[i] = MimeField::KeyOf(names[i]);
      bits |= NameBit(keys[i]);
    }
    for (const MimeField& line : _lines) {
      if ((bits & NameBit(line._key)) == 0) continue;
      for (std::size_t i = 0; i < Count; ++i) {
        if (line.NameIs(names[i], keys[i])) take(i, line);
      }
    }
  }

  // Replaces the first field of that name and removes the others; appends when there is none.
  void Set(std::string_view name, std::string_view value);
  // Set for several fields at once, all of them there and each named once. The whole header is
  // written to `text`, as AppendTo would, and looks into it from then on; `text` must outlive it.
  void Rewrite(std::span<const FieldChange> changes, std::string& text);
  // How many were removed.
  std::size_t Remove(std::string_view name);
  bool modified() const { return _modified; }

  // The header's lines, changed and unchanged, each with its line end.
  void AppendTo(std::string& out) const;

 private:
  std::size_t RewrittenBound(std::span<const FieldChange> changes) const;
  // Names that may be alike have the same slot, each with a bit: a name whose bit is clear is not
  // there.
  static constexpr std::uint32_t NameSlot(std::uint32_t key) { return key * 0x9E3779B1U >> 26; }
  static constexpr std::uint64_t NameBit(std::uint32_t key) {
    return std::uint64_t{1} << NameSlot(key);
  }
  // No field of a slot whose bit is set stands before this place in _lines; others mean nothing.
  struct FirstPlaces : parvane::platform::PooledObject<FirstPlaces> {
    std::array<std::uint32_t, 64> of;
  };

  std::size_t FirstPlace(std::uint32_t slot) const {
    return _firstPlaces ? _firstPlaces->of[slot] : 0;
  }
  void AddLine(std::string_view raw, std::size_t nameLength, std::size_t valueStart,
               FirstPlaces& firstPlaces);
  // After a change of the lines' places.
  void ForgetPlaces() {
    _firstPlaces.reset();
    _order.reset();
  }

  // The places in _lines of those that are fields.
  const std::vector<std::uint32_t>& Order() const;

  // A message may have 200,000 parts, each with a header: what a short one can do without is made
  // for the others only.
  std::uint64_t _names = 0;  // bits of the names of all fields, and perhaps of removed ones
  std::unique_ptr<const FirstPlaces> _firstPlaces;  // null: all begin at the first line
  // A name length of 0 marks a line that is no field.
  parvane::platform::RecycledVector<MimeField> _lines;
  std::forward_list<std::string> _rewritten;  // changed fields; grows only, so views stay good
  mutable std::unique_ptr<const std::vector<std::uint32_t>> _order;  // null: not known
  bool _modified = false;
};

// A field's text, folded before white space so that lines stay within 78 columns where the value
// allows; line ends inside the value become folds, and CR LF ends it.
std::string FoldField(std::string_view name, std::string_view value);
void AppendFoldedField(std::string_view name, std::string_view value, std::string& out);

}  // namespace Tessary
