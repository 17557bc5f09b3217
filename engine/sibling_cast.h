// From an item to an interface that it may offer beside its own.
//
// dynamic_cast from one base of an object to another takes as long as writing several properties,
// and the items of a folder are all of one class: where the other base lies is remembered with the
// class.
#pragma once

#include <cstddef>
#include <typeinfo>

namespace parvane::engine {

// A class must have `From` as a base only once.
template <typename To, typename From>
class SiblingCast {
 public:
  // Null when the object's class offers no such interface.
  To* operator()(From& from) {
    char* const place = reinterpret_cast<char*>(&from);
    if (const std::type_info& type = typeid(from); &type != _type) {
      To* const to = dynamic_cast<To*>(&from);
      _type = &type;
      _offered = to != nullptr;
      _distance = _offered ? reinterpret_cast<char*>(to) - place : 0;
    }
    return _offered ? reinterpret_cast<To*>(place + _distance) : nullptr;
  }

 private:
  const std::type_info* _type = nullptr;
  std::ptrdiff_t _distance = 0;
  bool _offered = false;
};

}  // namespace parvane::engine
