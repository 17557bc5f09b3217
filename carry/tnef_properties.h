// Properties out of TNEF, put onto MAPI objects.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "mapi/property_object.h"
#include "mime/tnef/property_reader.h"

namespace parvane::carry {

// The ids that a store gives to names. Asked for once each, and no more than some thousand in all,
// because a store has 32,767 and never gives one back.
class NamedIds {
 public:
  // 0: the store has none to give.
  mapi::ULONG For(mapi::IMAPIProp& object, const tnef::PropertyName& name);

 private:
  std::map<std::string, mapi::ULONG> _ids;
};

// 8-bit text in a code page, or UTF-16, without what follows its first zero.
std::u16string TextOf(std::string_view bytes, unsigned codePage);
std::u16string WideTextOf(std::string_view utf16);
// The text of a property of either width; empty for one of another type.
std::u16string TextOf(const tnef::Property& property, unsigned codePage);
// The number of a property; 0 for one of another type.
std::uint32_t NumberIn(const tnef::Property& property);

// Gathers properties of one object and sets them together. 8-bit text becomes UTF-16, but for that
// of an HTML body, which has a code page of its own. What is large is written through a stream.
class TnefProperties {
 public:
  TnefProperties(mapi::IMAPIProp* object, unsigned codePage)
      : _object(object), _codePage(codePage) {}

  // Under the property's own tag, or one of the same type. What no property of MAPI can be is left
  // out.
  void Add(const tnef::Property& property, mapi::ULONG tag);
  void AddNumber(mapi::ULONG tag, mapi::ULONG value);
  void AddTruth(mapi::ULONG tag, bool value);
  void AddTime(mapi::ULONG tag, std::uint64_t ticks);
  // Nothing when it is empty.
  void AddText(mapi::ULONG tag, std::u16string text);
  void AddBytes(mapi::ULONG tag, std::string_view bytes);
  // Sets what has been gathered.
  void Set();
  // Nothing was left out because there was too much of it.
  bool whole() const { return _whole; }

  // What has been gathered, for whoever sets it otherwise.
  std::vector<mapi::SPropValue>& values() { return _values; }

 private:
  void AddSeveral(const tnef::Property& property, mapi::ULONG tag);
  void AddFixed(const tnef::Property& property, mapi::ULONG tag);
  void AddGuid(mapi::ULONG tag, std::string_view bytes);
  mapi::SPropValue& Append(mapi::ULONG tag);

  mapi::IMAPIProp* _object;  // null: nothing is written through streams
  unsigned _codePage;
  bool _whole = true;
  std::vector<mapi::SPropValue> _values;
  // What the values point at.
  std::deque<std::u16string> _texts;
  std::deque<std::vector<mapi::LPWSTR>> _textLists;
  std::deque<std::vector<mapi::SBinary>> _binaryLists;
  std::deque<std::vector<mapi::LONG>> _numberLists;
  std::deque<mapi::GUID> _guids;
};

}  // namespace parvane::carry
